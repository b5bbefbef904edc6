#pragma once

#include "KestrumShared/Items/StatusMetricView.h"
#include "Platform/Machine/CoreTopology.h"
#include "tests/Support/FreshSettings.h"

#include <QFontInfo>
#include <QGuiApplication>
#include <QImage>
#include <cmath>
#include <memory>

namespace kestrum {

/// Readings that a test sets one by one.
struct FakeReadings : MenuBarReadings {
    double cpu = 0.5;
    QList<double> cores { 0.25, 0.5, 0.75, 1.0 };
    int fastCores = 0;
    QList<double> history { 0.0, 0.5, 1.0, 0.5 };
    std::optional<double> cpuCelsius = 48.0, cpuPower = 12.0, gpuCelsius = 41.0, hottest = 52.0, fan = 1240.0,
                          power = 24.0;
    double memory = 0.5, pressure = 0.31, storage = 0.5;
    quint64 swap = 1288490189;
    qint64 freeBytes = 442381631488;

    double cpuUsage() const override { return cpu; }
    QList<double> coreUsages() const override { return cores; }
    int performanceCoreCount() const override { return fastCores; }
    QList<double> cpuHistory() const override { return history; }
    std::optional<double> cpuTemperature() const override { return cpuCelsius; }
    std::optional<double> cpuWatts() const override { return cpuPower; }
    std::optional<double> gpuTemperature() const override { return gpuCelsius; }
    std::optional<double> hottestCelsius() const override { return hottest; }
    std::optional<double> fastestFanRPM() const override { return fan; }
    std::optional<double> systemWatts() const override { return power; }
    double memoryUsage() const override { return memory; }
    double memoryPressure() const override { return pressure; }
    quint64 swapUsed() const override { return swap; }
    double storageUsage() const override { return storage; }
    qint64 availableStorage() const override { return freeBytes; }
};

/// The distance of the meter from its item's left edge, in points.
inline double meterStart(MonitorSection section)
{
    return 1 + StatusMetricView::labelWidth(section) + StatusMetricView::meterSideGap(section);
}

/// Makes drawings use the same font, settings and cores in every test and on every machine.
namespace DrawingFixture {

/// Sets factory defaults, the font Inter and four cores of one kind. Returns false when the font is missing (Debian's package
/// fonts-inter), because pictures could not be compared then.
inline bool prepare()
{
    forgetSettings();
    registerFactoryDefaults();
    QFont font(QStringLiteral("Inter"));
    QGuiApplication::setFont(font);
    CoreTopology::useTiers({ { QStringLiteral("Level 0"), 4 } });
    return QFontInfo(font).family() == QLatin1StringView("Inter");
}

/// The message to show when `prepare` returns false.
constexpr const char* noFont = "the font Inter (package fonts-inter) is missing";

inline void set(const char* key, const char* value)
{
    SharedSettings::store().set(key, QJsonValue(QString::fromUtf8(value)));
}

inline void turnReadoutsOff()
{
    for (const char* key : { "cpuReadout", "memoryReadout", "storageReadout", "sensorsReadout" })
        set(key, "off");
}

/// An image with the item at `topLeft` (in points) and a margin of two points; the rest is empty.
inline QImage drawn(MonitorSection section, std::shared_ptr<const MenuBarReadings> readings, double scale,
    ColourScheme scheme = ColourScheme::light, const QPointF& topLeft = QPointF(0, 0))
{
    const double width = StatusMetricView::itemWidth(section);
    QImage image(int(std::ceil((width + topLeft.x() + 2) * scale)),
        int(std::ceil((StatusMetricView::height + topLeft.y()) * scale)),
        QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    image.setDevicePixelRatio(scale);
    QPainter painter(&image);
    StatusMetricView(section, QRectF(topLeft, QSizeF(width, StatusMetricView::height)), std::move(readings))
        .draw(painter, topLeft, scheme, scale);
    return image;
}

} // namespace DrawingFixture
} // namespace kestrum

/// Checks that `actual` differs from `expected` by at most `tolerance`.
#define QVERIFY_NEAR(actual, expected, tolerance)                                                            \
    QVERIFY2(std::abs((actual) - (expected)) <= (tolerance),                                                 \
        qPrintable(QStringLiteral("%1 instead of %2").arg(actual).arg(expected)))
