// SPDX-License-Identifier: MIT
#include "Platform/Machine/ProcessList.h"

#include "Platform/Files/FileDescriptor.h"
#include "Platform/Machine/KernelText.h"

#include <QFile>
#include <algorithm>
#include <cstring>
#include <dirent.h>
#include <fcntl.h>
#include <unistd.h>

namespace kestrum {
namespace {

constexpr std::size_t listingBytes = std::size_t(32) * 1024;
constexpr std::size_t longestName = 16; // of a process's folder
// More than a process's "stat", "statm" or "io" has.
using SmallText = std::array<char, 1024>;
// The kernel's maximum of a path, which includes its mark for removed files.
constexpr qsizetype longText = 4096;

// The start of the file below the folder `table`; empty if it cannot be read.
std::string_view readSmall(int table, const char* path, SmallText& text)
{
    // Without O_NONBLOCK, opening a pipe at this path would wait for a writer.
    const int file = ::openat(table, path, O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY);
    if (file < 0)
        return {};
    const ssize_t size = ::read(file, text.data(), text.size());
    ::close(file);
    return size > 0 ? std::string_view(text.data(), std::size_t(size)) : std::string_view();
}

QByteArray fileOf(const QByteArray& table, qint32 pid, const char* name)
{
    return table + '/' + QByteArray::number(pid) + '/' + name;
}

QByteArray readLong(const QByteArray& path)
{
    QByteArray text(longText, Qt::Uninitialized);
    const FileDescriptor file(::open(path.constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK | O_NOCTTY));
    const ssize_t size = file.isValid() ? ::read(file.get(), text.data(), std::size_t(text.size())) : -1;
    text.truncate(std::max<qsizetype>(0, size));
    return text;
}

} // namespace

ProcessList::ProcessList(const QString& root)
    : m_table(QFile::encodeName(root) + "/proc")
    , m_listing(listingBytes)
{
}

void ProcessList::read(Extra extra, ProcessSamples& samples)
{
    static const qint64 pageSize = ::sysconf(_SC_PAGESIZE);
    samples.clear();
    const FileDescriptor table(::open(m_table.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!table.isValid())
        return;
    SmallText text;
    char path[longestName + 8];
    for (;;) {
        const ssize_t size = ::getdents64(table.get(), m_listing.data(), m_listing.size());
        if (size <= 0)
            break;
        for (ssize_t at = 0; at < size;) {
            const auto& entry = *reinterpret_cast<const dirent64*>(m_listing.data() + at);
            at += entry.d_reclen;
            const std::size_t length = ::strnlen(entry.d_name, longestName + 1);
            const auto pid = KernelText::wholeNumber<qint32>({ entry.d_name, length });
            if (!pid || length > longestName)
                continue;
            std::memcpy(path, entry.d_name, length);
            char* const name = path + length;
            ::strcpy(name, "/stat");
            const std::optional<ProcessSample> sample
                = ProcessSample::parsed(readSmall(table.get(), path, text));
            if (!sample || sample->pid != *pid)
                continue;
            samples.push_back(*sample);
            // Kernel threads have no memory of their own. What they write was counted when programs changed the pages.
            if (extra == Extra::none || sample->isKernelThread)
                continue;
            ::strcpy(name, extra == Extra::memory ? "/statm" : "/io");
            const std::string_view content = readSmall(table.get(), path, text);
            if (extra == Extra::memory)
                samples.back().addMemory(content, pageSize);
            else
                samples.back().addVolumeCounters(content);
        }
    }
    const auto isBefore
        = [](const ProcessSample& one, const ProcessSample& other) { return one.pid < other.pid; };
    // The kernel lists processes in this order; other file systems do not.
    if (!std::is_sorted(samples.begin(), samples.end(), isBefore))
        std::sort(samples.begin(), samples.end(), isBefore);
}

QByteArray ProcessList::controlGroups(qint32 pid) const
{
    return readLong(fileOf(m_table, pid, "cgroup"));
}

QByteArray ProcessList::programPath(qint32 pid) const
{
    static constexpr QByteArrayView mark(" (deleted)");
    QByteArray path(longText, Qt::Uninitialized);
    const ssize_t size
        = ::readlink(fileOf(m_table, pid, "exe").constData(), path.data(), std::size_t(path.size()));
    path.truncate(std::max<qsizetype>(0, size));
    if (path.endsWith(mark))
        path.chop(mark.size());
    return path;
}

QByteArrayList ProcessList::commandLine(qint32 pid) const
{
    QByteArray text = readLong(fileOf(m_table, pid, "cmdline"));
    if (text.endsWith('\0'))
        text.chop(1);
    return text.isEmpty() ? QByteArrayList() : text.split('\0');
}

std::optional<std::size_t> ProcessList::find(const ProcessSamples& samples, qint32 pid)
{
    const auto found = std::lower_bound(samples.begin(), samples.end(), pid,
        [](const ProcessSample& sample, qint32 wanted) { return sample.pid < wanted; });
    if (found == samples.end() || found->pid != pid)
        return std::nullopt;
    return std::size_t(found - samples.begin());
}

} // namespace kestrum
