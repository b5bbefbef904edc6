// SPDX-License-Identifier: MIT
#include "kestrumctl/RenderPopover.h"

#include "KestrumShared/Popover/PanelStack.h"
#include "KestrumShared/Popover/PopoverFrame.h"
#include "KestrumShared/Popover/PopoverPanel.h"
#include "KestrumShared/Popover/SamplePopoverReadings.h"
#include "KestrumShared/Settings/Setting.h"
#include "KestrumShared/Text/AppLanguage.h"
#include "kestrumctl/CoresOption.h"
#include "kestrumctl/MachineReadings.h"
#include "kestrumctl/NearestNames.h"

#include <QLocale>
#include <QPainter>
#include <cmath>

namespace kestrum {

namespace {

const QLatin1StringView popoverPrefix("popover-");

// With no number of cores given, the sample is always the same, unlike the samples of items, which have this machine's cores.
PopoverReadings sampleReadings(const CommandLine& line)
{
    const bool isPoor = line.has(RenderPopover::poor.name);
    if (!line.has(CoresOption::option.name))
        return isPoor ? SamplePopoverReadings::poor() : SamplePopoverReadings::rich();
    const QList<CoreTier>& tiers = CoreTopology::tiers();
    return isPoor ? SamplePopoverReadings::poor(tiers, CoreTopology::totalCores())
                  : SamplePopoverReadings::rich(tiers, CoreTopology::totalCores());
}

Result<PopoverReadings> readings(MonitorSection section, const CommandLine& line)
{
    const auto root = line.value(MachineReadings::option.name);
    if (!root)
        return sampleReadings(line);
    for (const Option& option : { RenderPopover::poor, CoresOption::option }) {
        if (line.has(option.name))
            return Failure::withReason(
                QStringLiteral("%1 is for samples, and %2 reads a machine")
                    .arg(QLatin1StringView(option.name), QLatin1StringView(MachineReadings::option.name)));
    }
    return MachineReadings::taken(section, *root);
}

Result<Qt::LayoutDirection> layoutDirection(const CommandLine& line)
{
    const auto text = line.value(RenderPopover::direction.name);
    if (!text)
        return QLocale(AppLanguage::code()).textDirection();
    const QStringList directions { QStringLiteral("ltr"), QStringLiteral("rtl") };
    if (!directions.contains(*text))
        return Failure::withReason(NearestNames::unknown("direction", *text, directions));
    return *text == directions.last() ? Qt::RightToLeft : Qt::LeftToRight;
}

} // namespace

QStringList RenderPopover::names()
{
    QStringList names;
    for (const auto& entry : allCases<MonitorSection>())
        names.append(popoverPrefix + QLatin1StringView(entry.rawValue));
    return names;
}

std::optional<MonitorSection> RenderPopover::section(const QString& name)
{
    return name.startsWith(popoverPrefix) ? fromRawValue<MonitorSection>(name.mid(popoverPrefix.size()))
                                          : std::nullopt;
}

Result<QImage> RenderPopover::drawn(
    MonitorSection section, ColourScheme scheme, double scale, const CommandLine& line)
{
    const auto direction = layoutDirection(line);
    if (!direction)
        return direction.failure();
    const auto shown = readings(section, line);
    if (!shown)
        return shown.failure();
    const SettingsSnapshot settings = SharedSettings::store().snapshot();
    PanelEnvironment environment;
    environment.scheme = scheme;
    environment.direction = *direction;
    environment.font = PanelEnvironment::systemFont(PopoverPanel::rowFontSize);
    environment.background = valueIn(settings, Keys::popoverBackground);

    const PopoverPanel panel = PopoverPanel::of(section, *shown, {}, settings, environment);
    PanelStack parts { QList<PanelPart> { panel.header } + panel.sections };
    const PopoverFrame frame { environment.background == PopoverBackground::translucent };
    const QRectF rect(frame.margins().left(), frame.margins().top(), PopoverPanel::width,
        parts.height(environment) + PopoverFrame::lowerEdge);
    const QSizeF size = rect.marginsAdded(frame.margins()).size() * scale;

    QImage image(
        int(std::ceil(size.width())), int(std::ceil(size.height())), QImage::Format_ARGB32_Premultiplied);
    if (image.isNull())
        return image;
    image.fill(Qt::transparent);
    image.setDevicePixelRatio(scale);
    {
        QPainter painter(&image);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setRenderHint(QPainter::SmoothPixmapTransform);
        frame.draw(painter, rect, environment);
        parts.draw(painter, rect, environment);
    }
    image.setDevicePixelRatio(1);
    return image;
}

} // namespace kestrum
