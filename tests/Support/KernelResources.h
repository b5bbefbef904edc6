// SPDX-License-Identifier: MIT
#pragma once

#include <QDir>
#include <QFile>
#include <QList>
#include <unistd.h>

namespace kestrum {

/// The event masks of all kernel watches of this process, read from /proc/self/fdinfo.
inline QList<quint32> kernelWatches()
{
    QList<quint32> masks;
    const QStringList descriptors
        = QDir(QStringLiteral("/proc/self/fdinfo")).entryList(QDir::Files | QDir::NoDotAndDotDot);
    for (const QString& descriptor : descriptors) {
        QFile file(QStringLiteral("/proc/self/fdinfo/") + descriptor);
        if (!file.open(QIODevice::ReadOnly))
            continue;
        const QByteArrayList lines = file.readAll().split('\n');
        for (const QByteArray& line : lines) {
            const qsizetype at = line.indexOf(" mask:");
            if (line.startsWith("inotify ") && at > 0)
                masks.append(line.mid(at + 6, line.indexOf(' ', at + 1) - at - 6).toUInt(nullptr, 16));
        }
    }
    return masks;
}

/// The number of the descriptor that this process will open next. It rises if descriptors are not closed.
inline int lowestFreeDescriptor()
{
    const int descriptor = ::dup(STDIN_FILENO);
    ::close(descriptor);
    return descriptor;
}

} // namespace kestrum
