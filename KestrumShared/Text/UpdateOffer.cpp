// SPDX-License-Identifier: MIT
#include "KestrumShared/Text/UpdateOffer.h"

#include <algorithm>

namespace kestrum {

QString UpdateOffer::name(const QString& version, const QString& build)
{
    return version == build ? version : QStringLiteral("%1 (%2)").arg(version, build);
}

std::optional<qint64> UpdateOffer::buildNumber(const QString& text)
{
    const qsizetype open = text.lastIndexOf(u'(');
    const qsizetype close = text.lastIndexOf(u')');
    if (open < 0 || close < open)
        return std::nullopt;
    const QString number = text.mid(open + 1, close - open - 1).trimmed();
    // `toLongLong` alone would also accept digits of other scripts.
    const bool isSigned = number.startsWith(u'+') || number.startsWith(u'-');
    const bool isWhole = std::all_of(number.begin() + (isSigned ? 1 : 0), number.end(),
        [](QChar character) { return character >= u'0' && character <= u'9'; });
    bool fits = false;
    const qint64 value = number.toLongLong(&fits);
    return isWhole && fits ? std::optional(value) : std::nullopt;
}

std::optional<QString> UpdateOffer::standing(const std::optional<QString>& offered, const QString& running)
{
    if (!offered)
        return std::nullopt;
    const auto offeredBuild = buildNumber(*offered);
    const auto runningBuild = buildNumber(running);
    const bool stands = offeredBuild && runningBuild ? *offeredBuild > *runningBuild : *offered != running;
    return stands ? offered : std::nullopt;
}

} // namespace kestrum
