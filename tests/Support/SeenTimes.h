#pragma once

#include "tests/Support/DesktopFixture.h"

#include <QElapsedTimer>
#include <QList>
#include <algorithm>

namespace kestrum {

/// How soon settings that a shell command writes become visible on the screen, in ms.
class SeenTimes {
public:
    /// Writes a setting, and measures the time until the picture that `look` returns changes.
    template <class Look>
    void note(const DesktopFixture& fixture, const QString& key, const QString& json, Look look)
    {
        const QImage before = look();
        QElapsedTimer clock;
        clock.start();
        fixture.kestrumctl("write", { key, json });
        const double written = double(clock.nsecsElapsed()) / 1e6;
        while (look() == before && clock.elapsed() < Programs::patience) { }
        m_sinceBegin.append(double(clock.nsecsElapsed()) / 1e6);
        m_sinceEnd.append(m_sinceBegin.last() - written);
    }

    /// The median times, counted from the start of the command and from its end.
    double afterBegin() const { return median(m_sinceBegin); }
    double afterEnd() const { return median(m_sinceEnd); }

    QString report() const
    {
        return QStringLiteral(
            "on the screen %1 ms after the command began, %2 ms after it ended (medians of %3)")
            .arg(afterBegin(), 0, 'f', 1)
            .arg(afterEnd(), 0, 'f', 1)
            .arg(m_sinceBegin.size());
    }

private:
    static double median(QList<double> times)
    {
        std::sort(times.begin(), times.end());
        return times.value(times.size() / 2);
    }

    QList<double> m_sinceBegin;
    QList<double> m_sinceEnd;
};

} // namespace kestrum
