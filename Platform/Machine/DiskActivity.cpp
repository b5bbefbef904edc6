// SPDX-License-Identifier: MIT
#include "Platform/Machine/DiskActivity.h"

#include "Platform/Machine/KernelText.h"

#include <QDir>
#include <algorithm>
#include <array>
#include <utility>

// A line of "/proc/diskstats" is "major minor name", then "requests merged sectors milliseconds" for reading, the same four
// for writing, and more. A sector is 512 bytes, whatever the sectors of the device are.
//
// Partitions have lines too, but no folder of their own in "/sys/block". A device that lies on others (encrypted volumes,
// logical volumes, arrays) lists them in its folder "slaves".

namespace kestrum {
namespace {

constexpr double sectorBytes = 512;

bool hasOnlyDigitsAfter(std::string_view prefix, std::string_view name)
{
    return name.starts_with(prefix)
        && name.find_first_not_of("0123456789", prefix.size()) == std::string_view::npos;
}

double risen(quint64 from, quint64 to)
{
    return to > from ? double(to - from) : 0;
}

// Whether the device is a disk with no device below it. Memory (ram, zram) is no disk. What files (loop) and pools (zd) transfer
// is counted at the disks that they lie on, though the kernel does not list these as their slaves.
bool isLowestDisk(const QString& root, const std::string& name)
{
    for (const char* prefix : { "loop", "ram", "zram", "zd" }) {
        if (hasOnlyDigitsAfter(prefix, name))
            return false;
    }
    // The kernel writes "cciss/c0d0" as "cciss!c0d0" where it is the name of a folder.
    const QString folder
        = root + QStringLiteral("/sys/block/") + QString::fromStdString(name).replace(u'/', u'!');
    static constexpr auto everything = QDir::AllEntries | QDir::Hidden | QDir::System | QDir::NoDotAndDotDot;
    return !name.empty() && QDir(folder).exists()
        && QDir(folder + QStringLiteral("/slaves")).isEmpty(everything)
        && KernelFile(folder + QStringLiteral("/hidden")).readNumber().value_or(0) == 0;
}

} // namespace

DiskActivity::DiskActivity(const QString& root)
    : m_file(root + QStringLiteral("/proc/diskstats"))
    , m_counts([root](const std::string& name) { return isLowestDisk(root, name); })
{
}

DiskActivity::DiskActivity(std::function<bool(const std::string& name)> counts)
    : m_file({})
    , m_counts(std::move(counts))
{
}

std::optional<DiskActivity::Rates> DiskActivity::sample(Clock::time_point now)
{
    if (isTooSoon(now))
        return m_rates;
    if (const auto content = m_file.read())
        return sample(*content, now);
    pause();
    return std::nullopt;
}

std::optional<DiskActivity::Rates> DiskActivity::sample(std::string_view content, Clock::time_point now)
{
    if (isTooSoon(now))
        return m_rates;
    parse(content);

    const bool isSameList = std::equal(m_now.begin(), m_now.end(), m_last.begin(), m_last.end(),
        [](const Device& one, const Device& other) { return one.name == other.name; });
    // A new device is looked at twice: it may appear a moment before those that it lies on are known.
    const bool examines = !isSameList || m_isListNew;
    m_isListNew = !isSameList;

    bool hasDisk = false;
    Rates sectors;
    for (std::size_t i = 0; i < m_now.size(); ++i) {
        Device& device = m_now[i];
        const Device* const last = lastOf(i);
        device.counts = examines ? m_counts(device.name) : last->counts;
        hasDisk = hasDisk || device.counts;
        if (device.counts && last) {
            sectors.read += risen(last->read, device.read);
            sectors.write += risen(last->written, device.written);
        }
    }
    m_rates.reset();
    if (m_lastTime && hasDisk) {
        const double seconds = std::chrono::duration<double>(now - *m_lastTime).count();
        m_rates = Rates { sectors.read * sectorBytes / seconds, sectors.write * sectorBytes / seconds };
    }
    std::swap(m_last, m_now);
    m_lastTime = now;
    return m_rates;
}

void DiskActivity::pause()
{
    m_last.clear();
    m_lastTime.reset();
    m_rates.reset();
}

// A line that does not have its numbers is left out.
void DiskActivity::parse(std::string_view content)
{
    m_now.clear();
    while (!content.empty()) {
        std::string_view line = KernelText::takeLine(content);
        KernelText::takeWord(line);
        KernelText::takeWord(line);
        const std::string_view name = KernelText::takeWord(line);
        std::array<std::optional<quint64>, 7> numbers;
        for (auto& number : numbers)
            number = KernelText::wholeNumber<quint64>(KernelText::takeWord(line));
        if (numbers[2] && numbers[6])
            m_now.push_back({ std::string(name), false, *numbers[2], *numbers[6] });
    }
}

// The same device at the last sample, where it mostly had the same place in the list.
const DiskActivity::Device* DiskActivity::lastOf(std::size_t index) const
{
    const std::string& name = m_now[index].name;
    if (index < m_last.size() && m_last[index].name == name)
        return &m_last[index];
    const auto found = std::find_if(
        m_last.begin(), m_last.end(), [&name](const Device& device) { return device.name == name; });
    return found == m_last.end() ? nullptr : &*found;
}

} // namespace kestrum
