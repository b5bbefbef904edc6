// SPDX-License-Identifier: MIT
#pragma once

#include "tests/Support/FileContent.h"
#include "tests/Support/Programs.h"
#include "tests/Support/Text.h"

#include <QDir>

namespace kestrum {

/// What a process has of the machine, as the kernel tells it.
struct ProcessUse {
    qint32 pid = 0;
    double proportional = 0; ///< MiB of memory; what several processes share is divided among them
    double own = 0;          ///< MiB of memory that it shares with nobody
    double allocated = 0;    ///< MiB of memory that comes from no file
    int descriptors = 0;
    int watches = 0; ///< of inotify

    explicit ProcessUse(qint32 process = 0)
        : pid(process)
    {
        if (pid <= 0)
            return;
        const QString folder = text("/proc/%1/").arg(pid);
        for (const QByteArray& line : contentOf(folder + text("smaps_rollup")).split('\n')) {
            const double mebibytes
                = line.mid(line.indexOf(':') + 1).trimmed().split(' ').first().toDouble() / 1024;
            if (line.startsWith("Pss:"))
                proportional = mebibytes;
            else if (line.startsWith("Private_"))
                own += mebibytes;
            else if (line.startsWith("Anonymous:"))
                allocated = mebibytes;
        }
        const QStringList names = QDir(folder + text("fdinfo")).entryList(QDir::Files);
        descriptors = int(names.size());
        for (const QString& name : names)
            watches += int(contentOf(folder + text("fdinfo/") + name).count("inotify wd:"));
    }

    /// What a program may need more after a long time, in MiB, and in descriptors and watches. A language or a page that was not
    /// shown before takes some of it.
    static constexpr double mostGrowth = 5;
    static constexpr int mostMore = 3;

    /// Whether this is about as much as `before`. What sanitizers keep is not counted, nor what depends on who else runs.
    bool isLike(const ProcessUse& before) const
    {
        const bool isSmall = Programs::areSanitized || allocated < before.allocated + mostGrowth;
        return isSmall && descriptors <= before.descriptors + mostMore
            && watches <= before.watches + mostMore;
    }

    QString told() const
    {
        return text("process %1: PSS %2 MiB, private %3 MiB, allocated %4 MiB, %5 descriptors, %6 watches")
            .arg(pid)
            .arg(proportional, 0, 'f', 1)
            .arg(own, 0, 'f', 1)
            .arg(allocated, 0, 'f', 1)
            .arg(descriptors)
            .arg(watches);
    }
};

} // namespace kestrum
