// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QFile>
#include <QFileInfo>
#include <sched.h>
#include <unistd.h>

namespace kestrum {

/// A user name space for one test program: limits that the kernel has for each user, such as those of inotify, are the program's own.
namespace OwnLimits {

inline bool writeFile(const char* path, const QByteArray& text)
{
    QFile file(QString::fromLatin1(path));
    return file.open(QIODevice::WriteOnly | QIODevice::Unbuffered) && file.write(text) == text.size();
}

/// Call this before `OwnProcesses::enter`, while the process has one thread. False where the kernel refuses it.
inline bool enter()
{
    const QByteArray user = QByteArray::number(::geteuid());
    const QByteArray group = QByteArray::number(::getegid());
    return ::unshare(CLONE_NEWUSER) == 0 && writeFile("/proc/self/setgroups", "deny")
        && writeFile("/proc/self/uid_map", user + ' ' + user + " 1")
        && writeFile("/proc/self/gid_map", group + ' ' + group + " 1")
        && QFileInfo(QStringLiteral("/proc/sys/user/max_inotify_watches")).isWritable();
}

/// Sets how many `kind` ("watches" or "instances") of inotify the processes in the name space may have. What they have stays.
inline bool setMost(const char* kind, int most)
{
    return writeFile(
        (QByteArray("/proc/sys/user/max_inotify_") + kind).constData(), QByteArray::number(most));
}

} // namespace OwnLimits
} // namespace kestrum
