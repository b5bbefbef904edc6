// SPDX-License-Identifier: MIT
#include "KestrumAgent/Bridge/PanelLook.h"

#include <algorithm>
#include <cmath>

namespace kestrum {

namespace {

constexpr double leastScale = 0.5;
constexpr double greatestScale = 4;
constexpr int leastRoom = 100;
constexpr int greatestRoom = 4000;

} // namespace

void PanelLook::adopt(const QVariantMap& told)
{
    const auto number = [&](const char* key) -> std::optional<double> {
        bool isNumber = false;
        const double value = told.value(QLatin1StringView(key)).toDouble(&isNumber);
        return isNumber && std::isfinite(value) ? std::optional(value) : std::nullopt;
    };
    if (const auto value = number("scale"))
        scale = std::clamp(*value, leastScale, greatestScale);
    if (const auto value = number("room"))
        room = int(std::clamp(*value, double(leastRoom), double(greatestRoom)));
    const QString name = told.value(QLatin1StringView("foreground")).toString();
    // Only this form: names of colours would make the contract larger.
    if (name.size() == 7 && name.startsWith(u'#') && QColor::isValidColor(name))
        foreground = QColor(name);
}

ItemInk PanelLook::ink() const
{
    if (!foreground)
        return SystemAppearance::shared().scheme();
    return { foreground->lightnessF() > 0.5F ? ColourScheme::dark : ColourScheme::light, *foreground };
}

} // namespace kestrum
