// SPDX-License-Identifier: MIT
#include "Platform/Machine/ProcessSample.h"

#include "Platform/Machine/KernelText.h"

#include <algorithm>
#include <limits>

namespace kestrum {
namespace {

// From the kernel's PF_KTHREAD. In a container, process 2 may be any program, so its number says nothing.
constexpr quint64 kernelThreadFlag = 0x0020'0000;
// Larger counters are damage. Sums of accepted counters cannot overflow.
constexpr quint64 largestCounter = quint64(1) << 56;

// Takes whole numbers from a line, one after the other.
class Numbers {
public:
    explicit Numbers(std::string_view text)
        : m_rest(text)
    {
    }
    void skip(int count)
    {
        for (; count > 0; --count)
            KernelText::takeWord(m_rest);
    }
    template <class Number = quint64> Number next(Number largest = largestCounter)
    {
        const auto number = KernelText::wholeNumber<Number>(KernelText::takeWord(m_rest));
        m_isSound = m_isSound && number && *number <= largest;
        return number.value_or(0);
    }
    bool isSound() const { return m_isSound; }

private:
    std::string_view m_rest;
    bool m_isSound = true;
};

// A session that is started at a virtual console keeps the console as its terminal, and so do all its apps. They are no jobs.
bool isTerminal(qint32 device)
{
    const quint32 number = quint32(device);
    const quint32 major = (number >> 8) & 0xFFF;
    const quint32 minor = (number & 0xFF) | ((number >> 12) & 0xF'FF00);
    return !(major == 4 && minor < 64);
}

} // namespace

std::optional<ProcessSample> ProcessSample::parsed(std::string_view stat)
{
    // The name may contain parentheses and blanks, so the last parenthesis ends it.
    const std::size_t nameBegin = stat.find('(');
    const std::size_t nameEnd = stat.rfind(')');
    if (nameBegin == std::string_view::npos || nameEnd < nameBegin)
        return std::nullopt;
    ProcessSample sample;
    const auto pid = KernelText::wholeNumber<qint32>(KernelText::trimmed(stat.substr(0, nameBegin)));
    if (!pid || *pid < 1)
        return std::nullopt;
    sample.pid = *pid;
    const std::string_view name = stat.substr(nameBegin + 1, nameEnd - nameBegin - 1);
    std::copy_n(name.begin(), std::min(name.size(), sample.command.size() - 1), sample.command.begin());

    constexpr qint32 any = std::numeric_limits<qint32>::max();
    Numbers numbers(stat.substr(nameEnd + 1));
    numbers.skip(1); // the state
    sample.parent = numbers.next<qint32>(any);
    sample.job = numbers.next<qint32>(any);
    numbers.skip(1);
    const auto terminal = numbers.next<qint32>(any);
    sample.terminal = isTerminal(terminal) ? terminal : 0;
    numbers.skip(1);
    sample.isKernelThread = (numbers.next() & kernelThreadFlag) != 0;
    numbers.skip(4);
    sample.time = numbers.next();
    sample.time += numbers.next();
    sample.childrenTime = numbers.next();
    sample.childrenTime += numbers.next();
    numbers.skip(4);
    sample.start = numbers.next();
    // The last number must be followed by others, or it may be cut.
    numbers.next<quint64>(std::numeric_limits<quint64>::max());
    return numbers.isSound() ? std::optional(sample) : std::nullopt;
}

void ProcessSample::addMemory(std::string_view statm, qint64 pageSize)
{
    Numbers numbers(statm);
    numbers.skip(1);
    const auto resident = qint64(numbers.next());
    const auto shared = qint64(numbers.next());
    // No machine has pages for more than 2^52 bytes.
    static constexpr qint64 mostPages = qint64(1) << 40;
    if (numbers.isSound() && resident <= mostPages)
        memory = std::max<qint64>(0, resident - shared) * pageSize;
}

void ProcessSample::addVolumeCounters(std::string_view io)
{
    std::optional<quint64> read;
    std::optional<quint64> written;
    quint64 cancelled = 0;
    while (!io.empty()) {
        std::string_view line = KernelText::takeLine(io);
        const std::string_view key = KernelText::takeUpTo(':', line);
        const auto value = KernelText::wholeNumber<quint64>(KernelText::trimmed(line));
        if (!value || *value > largestCounter)
            continue;
        if (key == "read_bytes")
            read = value;
        else if (key == "write_bytes")
            written = value;
        else if (key == "cancelled_write_bytes")
            cancelled = *value;
    }
    if (!read || !written)
        return;
    hasVolumeCounters = true;
    readBytes = *read;
    // What was cancelled never reached the volume. It may be more, because other processes' writes can be cancelled too.
    writtenBytes = *written - std::min(cancelled, *written);
}

} // namespace kestrum
