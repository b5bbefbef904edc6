// SPDX-License-Identifier: MIT
#include "KestrumShared/Items/SampleReadings.h"
#include "KestrumShared/Items/StatusMetricView.h"
#include "KestrumShared/Items/StripLayout.h"
#include "KestrumShared/Settings/MeterSettings.h"
#include "Platform/Log/Log.h"
#include "kestrumctl/CoresOption.h"
#include "kestrumctl/DataFile.h"
#include "kestrumctl/KeyCatalogue.h"
#include "kestrumctl/MachineReadings.h"
#include "kestrumctl/NearestNames.h"
#include "kestrumctl/RenderPopover.h"
#include "kestrumctl/Verb.h"

#include <QBuffer>
#include <QImage>
#include <QPainter>
#include <algorithm>
#include <cmath>
#include <memory>

namespace kestrum {

namespace {

constexpr Option renderOptions[] = { { "-o", true }, { "--scale", true }, { "--appearance", true },
    CoresOption::option, RenderPopover::direction, RenderPopover::poor, MachineReadings::option };

constexpr double largestScale = 16;
// Qt's painter draws nothing beyond 32767 pixels, so wide pictures are composed of pieces of this width.
constexpr int pieceWidth = 16384;

const QLatin1StringView wholeStrip("strip");

struct Picture {
    QList<StatusMetricView> items;
    double width = 0; ///< points
    double scale = 1;
    ColourScheme scheme = ColourScheme::light;
};

// Converts points to pixels and rounds up, ignoring floating-point errors just above an integer.
int pixels(double points, double scale)
{
    constexpr double noise = 1e-6;
    return std::max(1, static_cast<int>(std::ceil(points * scale - noise)));
}

QImage transparentImage(int width, int height)
{
    QImage image(width, height, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    return image;
}

QImage drawn(const Picture& picture)
{
    QImage image = transparentImage(
        pixels(picture.width, picture.scale), pixels(StatusMetricView::height, picture.scale));
    for (int left = 0; left < image.width(); left += pieceWidth) {
        QImage piece = transparentImage(std::min(pieceWidth, image.width() - left), image.height());
        if (piece.isNull())
            return {};
        piece.setDevicePixelRatio(picture.scale);
        {
            QPainter painter(&piece);
            for (const StatusMetricView& item : picture.items)
                item.draw(painter, QPointF(item.frame().left() - left / picture.scale, 0), picture.scheme,
                    picture.scale);
        }
        piece.setDevicePixelRatio(1);
        if (piece.width() == image.width())
            return piece;
        QPainter(&image).drawImage(left, 0, piece);
    }
    return image;
}

// Adds the item with the given name to `picture`; "strip" adds all shown items.
Result<> addItems(
    Picture& picture, const QString& name, const std::shared_ptr<const MenuBarReadings>& readings)
{
    const auto add = [&picture, &readings](MonitorSection section, double x, double width) {
        picture.items.append(
            StatusMetricView(section, QRectF(x, 0, width, StatusMetricView::height), readings));
    };
    if (name == wholeStrip) {
        const StripLayout layout = StripLayout::current();
        picture.width = layout.width;
        for (const StripLayout::Item& item : layout.items) {
            if (item.isShown())
                add(item.section, *item.x, item.width);
        }
        return {};
    }
    if (const auto section = fromRawValue<MonitorSection>(name)) {
        picture.width = StatusMetricView::itemWidth(*section);
        add(*section, 0, picture.width);
        return {};
    }
    QStringList names;
    for (const auto& entry : allCases<MonitorSection>())
        names.append(QLatin1StringView(entry.rawValue));
    names.append(wholeStrip);
    names.append(RenderPopover::names());
    return Failure::withReason(NearestNames::unknown("section", name, names));
}

Result<> readOptions(Picture& picture, const CommandLine& line)
{
    if (const auto text = line.value("--scale")) {
        bool isNumber = false;
        picture.scale = text->toDouble(&isNumber);
        if (!isNumber || !(picture.scale > 0 && picture.scale <= largestScale))
            return Failure::withReason(
                QStringLiteral("--scale takes a number above 0 and up to %1, not \"%2\"")
                    .arg(largestScale)
                    .arg(Log::escaped(*text)));
    }
    if (const auto text = line.value("--appearance")) {
        const QStringList names { QStringLiteral("light"), QStringLiteral("dark") };
        if (!names.contains(*text))
            return Failure::withReason(NearestNames::unknown("appearance", *text, names));
        picture.scheme = *text == names.last() ? ColourScheme::dark : ColourScheme::light;
    }
    return CoresOption::apply(line);
}

ExitCode runRender(const CommandLine& line)
{
    const auto path = line.value("-o");
    if (!path || path->isEmpty())
        return Console::wrongUse(QStringLiteral("render: a file for the picture is missing (-o FILE.png)"));
    Picture picture;
    if (const auto read = readOptions(picture, line); !read)
        return Console::wrongUse(read.failureText());
    const QString name = line.arguments().first();
    const auto popover = RenderPopover::section(name);
    for (const Option& option : { RenderPopover::direction, RenderPopover::poor, MachineReadings::option }) {
        if (!popover && line.has(option.name))
            return Console::wrongUse(
                QStringLiteral("%1 is for popovers only").arg(QLatin1StringView(option.name)));
    }

    UserDefaults& store = KeyCatalogue::openedStore();
    // The settings application and the agent store these accents at their first start. Here, the accents are only defaults.
    store.registerDefaults(MeterSettings::missingAccents());
    QImage image;
    const auto readings = std::make_shared<SampleReadings>();
    if (popover) {
        const auto drawn = RenderPopover::drawn(*popover, picture.scheme, picture.scale, line);
        if (!drawn)
            return Console::wrongUse(drawn.failureText());
        image = *drawn;
    } else {
        if (const auto added = addItems(picture, name, readings); !added)
            return Console::wrongUse(added.failureText());
        if (picture.items.isEmpty())
            return Console::failed(QStringLiteral("there is nothing to draw: all items are hidden"));
        image = drawn(picture);
    }

    QByteArray png;
    QBuffer buffer(&png);
    if (image.isNull() || !buffer.open(QIODevice::WriteOnly) || !image.save(&buffer, "PNG"))
        return Console::failed(QStringLiteral("the picture is too large"));
    const auto written = DataFile::write(*path, png);
    return written ? ExitCode::done : Console::failed(written.failureText());
}

} // namespace

const Verb renderVerb {
    .name = "render",
    .parameters
    = "strip|[popover-]cpu|memory|storage|sensors -o FILE.png [--scale N] [--appearance light|dark] "
      "[--cores N[,N...]] [--direction ltr|rtl] [--poor] [--root DIR]",
    .summary = "draw a menu-bar item, all of them, or a popover into a PNG file",
    .details
    = R"(Draws one menu-bar item, also a hidden one, the whole strip ("strip"), or a section's popover ("popover-cpu",
"popover-memory", "popover-storage", "popover-sensors"), with sample readings and the settings in effect, on a
transparent ground. The picture has the item's width by 22 points, or the popover's size with its shadow, times
the scale, rounded up.

  -o FILE.png              where the picture goes; "-" is standard output
  --scale N                pixels a point, above 0 and up to 16; 1 when not given
  --appearance light|dark  for a light panel (when not given) or a dark one
  --cores N[,N...]         as on a machine with so many cores, by tiers, the fastest first
  --direction ltr|rtl      of a popover; that of the interface language when not given
  --poor                   a popover as on a machine that tells little of itself
  --root DIR               a popover with readings, not samples, of the machine whose proc, sys and run are below
                           DIR, over two seconds; "/" is this machine
)",
    .run = runRender,
    .options = renderOptions,
    .fewestArguments = 1,
    .mostArguments = 1,
    .draws = true,
};

} // namespace kestrum
