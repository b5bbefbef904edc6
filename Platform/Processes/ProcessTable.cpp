// SPDX-License-Identifier: MIT
#include "Platform/Processes/ProcessTable.h"

#include "Platform/Files/FileDescriptor.h"

#include <QFile>
#include <algorithm>
#include <cstring>
#include <ctime>
#include <dirent.h>
#include <fcntl.h>
#include <limits>
#include <linux/magic.h>
#include <sys/stat.h>
#include <sys/vfs.h>
#include <unistd.h>

namespace kestrum {

namespace {

constexpr size_t listingSize = size_t(32) * 1024;
constexpr size_t pathSize = 4096; // the kernel's maximum, including " (deleted)"
constexpr char programLink[] = "/exe";

// The process id that `name` stands for; zero for other entries, such as "self" and "meminfo".
qint32 pidOf(const char* name)
{
    qint64 number = 0;
    for (; *name >= '0' && *name <= '9' && number <= std::numeric_limits<qint32>::max(); ++name)
        number = number * 10 + (*name - '0');
    return *name == '\0' && number <= std::numeric_limits<qint32>::max() ? qint32(number) : 0;
}

// Whether `path` still names the running program's file. Compares inodes, because a replaced file may still have other names.
bool isNameOf(const char* path, int table, const char* link)
{
    struct stat named;
    struct stat running;
    return ::stat(path, &named) == 0 && ::fstatat(table, link, &running, 0) == 0
        && named.st_dev == running.st_dev && named.st_ino == running.st_ino;
}

// Returns `path` without the mark " (deleted)", which the kernel adds if the file was removed or replaced. A real file name
// that ends like the mark is not changed. `path` must be zero-terminated.
QByteArrayView withoutMark(QByteArrayView path, int table, const char* link)
{
    static constexpr QByteArrayView mark = " (deleted)";
    if (path.endsWith(mark) && !isNameOf(path.data(), table, link))
        path.chop(mark.size());
    return path;
}

// The first 4096 bytes of the file at `path`, more than a process's "stat" has. Empty if the file cannot be read.
QByteArray content(const QByteArray& path)
{
    QByteArray text(4096, Qt::Uninitialized);
    const FileDescriptor file(::open(path.constData(), O_RDONLY | O_CLOEXEC | O_NONBLOCK));
    const ssize_t size = file.isValid() ? ::read(file.get(), text.data(), size_t(text.size())) : -1;
    text.truncate(std::max<qsizetype>(0, size));
    return text;
}

double seconds(clockid_t clock)
{
    timespec time {};
    ::clock_gettime(clock, &time);
    return double(time.tv_sec) + double(time.tv_nsec) / 1e9;
}

// The boot time in seconds since 1970. The difference of the two clocks is exact, while the kernel's "btime" has whole seconds.
// This thread may be interrupted between the readings, so the quickest of three attempts counts.
double runningKernelsBootTime()
{
    double best = 0;
    double shortest = std::numeric_limits<double>::max();
    for (int i = 0; i < 3; ++i) {
        const double before = seconds(CLOCK_BOOTTIME);
        const double now = seconds(CLOCK_REALTIME);
        const double after = seconds(CLOCK_BOOTTIME);
        if (after - before < shortest) {
            shortest = after - before;
            best = now - (before + after) / 2;
        }
    }
    // Rounded, so that two `ProcessTable` objects give the same start time for a process.
    return double(qRound64(best * 1000)) / 1000;
}

std::optional<double> bootTime(const QByteArray& root)
{
    struct statfs system { };
    if (::statfs(root.constData(), &system) == 0 && system.f_type == PROC_SUPER_MAGIC)
        return runningKernelsBootTime();
    // The file is read by lines, because the "btime" line comes after the lines of the processors, which can be many.
    QFile file(QFile::decodeName(root + "/stat"));
    if (!file.open(QIODevice::ReadOnly))
        return std::nullopt;
    while (!file.atEnd()) {
        const QByteArray line = file.readLine(pathSize).trimmed();
        bool isNumber = false;
        if (const qint64 time = line.startsWith("btime ") ? line.mid(6).toLongLong(&isNumber) : 0; isNumber)
            return double(time);
    }
    return std::nullopt;
}

// Calls `visit` for each process in the table at `root`, with the table's descriptor and the name of the process in it.
template <class Visit> void forEachEntry(const QByteArray& root, Visit visit)
{
    const FileDescriptor table(::open(root.constData(), O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (!table.isValid())
        return;
    alignas(dirent64) char listing[listingSize];
    for (;;) {
        const ssize_t size = ::getdents64(table.get(), listing, sizeof listing);
        if (size <= 0)
            return;
        for (const char* at = listing; at < listing + size;) {
            const auto& entry = *reinterpret_cast<const dirent64*>(at);
            at += entry.d_reclen;
            if (const qint32 pid = pidOf(entry.d_name); pid > 0)
                visit(table.get(), pid, entry.d_name);
        }
    }
}

} // namespace

ProcessTable::ProcessTable(const QString& root)
    : m_root(QFile::encodeName(root))
{
}

void ProcessTable::forEach(const std::function<void(qint32 pid, QByteArrayView path)>& visit) const
{
    char path[pathSize + 1];
    char link[sizeof dirent64::d_name + sizeof programLink];
    forEachEntry(m_root, [&](int table, qint32 pid, const char* name) {
        ::stpcpy(::stpcpy(link, name), programLink);
        const ssize_t length = ::readlinkat(table, link, path, pathSize);
        if (length <= 0)
            return;
        path[length] = '\0';
        visit(pid, withoutMark(QByteArrayView(path, length), table, link));
    });
}

/// A number in the process's "stat" file. Fields are counted from one, as in the kernel's documentation.
qulonglong ProcessTable::number(qint32 pid, qsizetype field, bool& isNumber) const
{
    // The second field is the process's name in parentheses. The name may contain parentheses, so the last ")" ends it.
    static constexpr qsizetype fieldsBefore = 2;
    const QByteArray text = content(m_root + '/' + QByteArray::number(pid) + "/stat");
    const qsizetype nameEnd = text.lastIndexOf(')');
    const QByteArrayList fields = text.mid(nameEnd + 1).simplified().split(' ');
    const qulonglong result = fields.value(field - fieldsBefore - 1).toULongLong(&isNumber);
    isNumber = isNumber && nameEnd >= 0;
    return result;
}

std::optional<double> ProcessTable::startTime(qint32 pid) const
{
    static constexpr qsizetype startField = 22;
    bool isNumber = false;
    const qulonglong ticks = number(pid, startField, isNumber);
    if (!isNumber)
        return std::nullopt;
    if (!m_bootTime)
        m_bootTime = bootTime(m_root);
    if (!m_bootTime)
        return std::nullopt;
    return *m_bootTime + double(ticks) / double(::sysconf(_SC_CLK_TCK));
}

std::optional<qint32> ProcessTable::parent(qint32 pid) const
{
    static constexpr qsizetype parentField = 4;
    bool isNumber = false;
    const qulonglong parent = number(pid, parentField, isNumber);
    return isNumber ? std::optional(qint32(parent)) : std::nullopt;
}

QList<qint32> ProcessTable::children(qint32 pid) const
{
    QList<qint32> result;
    forEachEntry(m_root, [&](int, qint32 each, const char*) {
        if (parent(each) == pid)
            result.append(each);
    });
    return result;
}

} // namespace kestrum
