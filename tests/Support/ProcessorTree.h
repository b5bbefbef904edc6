#pragma once

#include "tests/Support/FakeMachine.h"

#include <QMap>

namespace kestrum {

/// The kernel's times of one core, in hundredths of a second.
struct CoreTimes {
    quint64 user = 0;
    quint64 nice = 0;
    quint64 system = 0;
    quint64 idle = 0;
    quint64 waiting = 0;
    quint64 interrupts = 0;
    quint64 softInterrupts = 0;
    quint64 stolen = 0;
    quint64 guest = 0;
};

/// The text of "/proc/stat" for these cores.
inline QByteArray statText(const QMap<int, CoreTimes>& cores)
{
    QByteArray text = "cpu  1 2 3 4 5 6 7 8 9 0\n";
    for (auto core = cores.begin(); core != cores.end(); ++core) {
        text += "cpu" + QByteArray::number(core.key());
        const CoreTimes& times = core.value();
        for (const quint64 time : { times.user, times.nice, times.system, times.idle, times.waiting,
                 times.interrupts, times.softInterrupts, times.stolen, times.guest, quint64(0) })
            text += ' ' + QByteArray::number(time);
        text += '\n';
    }
    return text + "intr 190 7 0 0\nctxt 1990473\nbtime 1062191376\nprocesses 2915\n";
}

/// The times after `seconds` in which core n was busy for `busy`[n] hundredths of each second.
inline QMap<int, CoreTimes> coresAfter(quint64 seconds, const QList<quint64>& busy)
{
    QMap<int, CoreTimes> cores;
    for (qsizetype number = 0; number < busy.size(); ++number)
        cores[int(number)]
            = { .user = 1000 + seconds * busy[number], .idle = 9000 + seconds * (100 - busy[number]) };
    return cores;
}

} // namespace kestrum
