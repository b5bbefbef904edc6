// SPDX-License-Identifier: MIT
#include "KestrumShared/Items/ItemReadout.h"

#include "KestrumShared/Items/StatusMetricView.h"
#include "KestrumShared/Text/AppLanguage.h"
#include "KestrumShared/Text/Units.h"

#include <cmath>

namespace kestrum {

namespace {

using Text = std::optional<QString>;

// Whether a reading can be shown. NaN and values from 1e15 on count as absent, so all shown values fit a 64-bit integer.
bool isPresent(double value)
{
    return std::abs(value) < 1e15;
}

Text wholeText(double value, const char* unit)
{
    if (!isPresent(value))
        return std::nullopt;
    return QString::number(std::llround(value)) + QLatin1StringView(unit);
}

} // namespace

constinit const ItemReadout::Kind ItemReadout::percent {
    33,
    [](double value, const Appearance&) { return Text(StatusMetricView::percentText(value)); },
    nullptr,
};

constinit const ItemReadout::Kind ItemReadout::degrees {
    27,
    [](double value, const Appearance& appearance) {
        return isPresent(value)
            ? Text(Units::degrees(value, Units::temperatureUnit(appearance.value(Keys::temperatureUnit))))
            : std::nullopt;
    },
    nullptr,
};

constinit const ItemReadout::Kind ItemReadout::watts {
    33,
    [](double value, const Appearance&) { return wholeText(value, "W"); },
    nullptr,
};

constinit const ItemReadout::Kind ItemReadout::bytes {
    30,
    [](double value, const Appearance&) { return Text(StatusMetricView::gibibytesText(value)); },
    nullptr,
};

constinit const ItemReadout::Kind ItemReadout::revolutions {
    29,
    [](double value, const Appearance&) { return wholeText(value, ""); },
    // The item has no room for the unit.
    [](const QString& text) { return AppLanguage::string("%@ rpm", { text }); },
};

std::optional<QString> ItemReadout::text(const MenuBarReadings& readings, const Appearance& appearance) const
{
    const std::optional<double> present = kind ? read(readings) : std::nullopt;
    return present ? kind->text(*present, appearance) : std::nullopt;
}

} // namespace kestrum
