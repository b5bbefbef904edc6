// SPDX-License-Identifier: MIT
#include "kestrumctl/SignalNames.h"

#include "Platform/Signals/NotificationCentre.h"
#include "kestrumctl/NearestNames.h"

namespace kestrum {

Result<QList<SharedSettings::Signal>> SignalNames::parsed(const QStringList& words)
{
    QList<SharedSettings::Signal> result;
    for (const QString& word : words) {
        const auto signal = fromRawValue<SharedSettings::Signal>(word);
        if (!signal) {
            QStringList names;
            for (const auto& entry : allCases<SharedSettings::Signal>())
                names.append(QLatin1StringView(entry.rawValue));
            return Failure::withReason(NearestNames::unknown("signal", word, names));
        }
        if (!result.contains(*signal))
            result.append(*signal);
    }
    return result;
}

QString SignalNames::obstacle()
{
    return sentence(NotificationCentre::obstacle());
}

QString SignalNames::sentence(const QString& obstacle)
{
    return obstacle.isEmpty() ? QString() : QStringLiteral("no signal passes between programs: ") + obstacle;
}

} // namespace kestrum
