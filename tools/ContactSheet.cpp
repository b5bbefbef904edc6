// Makes one picture of menu-bar items in all their styles, to be checked by eye: every meter style, shape, label style and
// readout of every section, with machines of 1 to 64 cores, light and dark, at scale 1 and 2.
//
//     contact-sheet OUT.png

#include "KestrumShared/Items/SampleReadings.h"
#include "KestrumShared/Items/StatusMetricView.h"
#include "KestrumShared/Raster/LabelColour.h"
#include "KestrumShared/Settings/SharedSettings.h"
#include "KestrumShared/Vocabulary/MeterAppearance.h"
#include "Platform/Desktop/SymbolImage.h"
#include "Platform/Machine/CoreTopology.h"

#include <QGuiApplication>
#include <QPainter>
#include <QTemporaryDir>
#include <cmath>
#include <cstdio>

using namespace kestrum;

namespace {

constexpr int columnWidth = 620;
constexpr int rowHeight = 28;
constexpr int headingHeight = 34;
constexpr int captionWidth = 150;
constexpr int itemGap = 12;
constexpr int margin = 16;

struct Machine {
    const char* caption;
    QList<CoreTier> tiers;
};

QList<Machine> machines()
{
    const auto tiers = [](int fast, int slow) {
        QList<CoreTier> list { { QStringLiteral("Performance"), fast } };
        if (slow > 0)
            list.append({ QStringLiteral("Efficiency"), slow });
        return list;
    };
    return { { "1 core", tiers(1, 0) }, { "2 cores", tiers(1, 1) }, { "8 cores", tiers(4, 4) },
        { "12 + 4 cores", tiers(12, 4) }, { "64 cores", tiers(32, 32) } };
}

void choose(const QJsonObject& values)
{
    SharedSettings::store().registerDefaults(values);
}

void chooseFactory()
{
    choose(SharedSettings::factoryDefaults());
    choose({ { QStringLiteral("cpuAccent"), QStringLiteral("signal") },
        { QStringLiteral("cpuFastCoreAccent"), QStringLiteral("indigo") },
        { QStringLiteral("memoryAccent"), QStringLiteral("signal") },
        { QStringLiteral("storageAccent"), QStringLiteral("teal") },
        { QStringLiteral("memoryReadout"), QStringLiteral("usage") },
        { QStringLiteral("storageReadout"), QStringLiteral("usage") } });
    CoreTopology::useTiers(machines()[2].tiers);
}

template <class E> QJsonObject choice(const char* key, E value)
{
    return { { QString::fromLatin1(key), rawValue(value) } };
}

// An item of a row, and the settings that are stored before it is drawn.
struct Entry {
    MonitorSection section;
    QJsonObject choice;
};

template <class Readout> QList<Entry> everyReadout(MonitorSection section, const char* key)
{
    QList<Entry> entries;
    for (const auto& readout : allCases<Readout>())
        entries.append({ section, choice(key, readout.value) });
    return entries;
}

// A column of the sheet, with a background, a colour scheme and a scale. Rows are drawn from the top downwards.
class Column {
public:
    Column(QPainter& painter, double scale, ColourScheme scheme)
        : m_painter(painter)
        , m_scale(scale)
        , m_scheme(scheme)
        , m_ink(labelColour(scheme))
    {
    }

    int height() const { return m_y; }

    void heading(const QString& text)
    {
        m_painter.setPen(m_ink);
        m_painter.setFont(captionFont(QFont::DemiBold));
        m_painter.drawText(QPointF(margin, m_y + headingHeight - 10), text);
        m_y += headingHeight;
    }

    void row(const QString& caption, const QList<Entry>& entries)
    {
        begin(caption);
        const auto readings = std::make_shared<SampleReadings>();
        double x = captionWidth;
        for (const auto& [section, chosen] : entries) {
            choose(chosen);
            const double width = StatusMetricView::itemWidth(section);
            if (x > captionWidth && x + width > columnWidth) {
                m_y += rowHeight;
                x = captionWidth;
            }
            // Shows the space that the item takes.
            QColor room = m_ink;
            room.setAlpha(12);
            m_painter.fillRect(QRectF(x, m_y, width, StatusMetricView::height), room);
            StatusMetricView(section, QRectF(x, 0, width, StatusMetricView::height), readings)
                .draw(m_painter, QPointF(x, m_y), m_scheme, m_scale);
            x += std::ceil(width) + itemGap;
        }
        m_y += rowHeight;
    }

    void symbols(double pointSize)
    {
        begin(QStringLiteral("symbols at %1").arg(pointSize));
        double x = captionWidth;
        for (const char* name : { "cpu", "memorychip", "internaldrive", "sensor", "menubar.rectangle",
                 "macwindow", "gearshape" }) {
            m_painter.drawImage(
                QPointF(x, m_y), SymbolImage::image(QString::fromLatin1(name), pointSize, m_ink, m_scale));
            x += std::ceil(2 * pointSize) + itemGap;
        }
        m_y += rowHeight + int(pointSize) - 12;
    }

private:
    static QFont captionFont(QFont::Weight weight)
    {
        QFont font = QGuiApplication::font();
        font.setPixelSize(11);
        font.setWeight(weight);
        return font;
    }

    void begin(const QString& caption)
    {
        m_painter.setPen(m_ink);
        m_painter.setFont(captionFont(QFont::Normal));
        m_painter.drawText(QPointF(margin, m_y + 15), caption);
    }

    QPainter& m_painter;
    double m_scale;
    ColourScheme m_scheme;
    QColor m_ink;
    int m_y = margin;
};

// Every section in each of its readouts. Only the CPU item has the meter styles; shape and labels apply to all items.
void drawReadouts(Column& column)
{
    for (const auto& style : allCases<MeterStyle>()) {
        choose(choice("meterStyle", style.value));
        column.row(QStringLiteral("cpu, ") + rawValue(style.value),
            everyReadout<CPUReadout>(MonitorSection::cpu, "cpuReadout"));
    }
    column.row(rawValue(MonitorSection::memory),
        everyReadout<MemoryReadout>(MonitorSection::memory, "memoryReadout"));
    column.row(rawValue(MonitorSection::storage),
        everyReadout<StorageReadout>(MonitorSection::storage, "storageReadout"));
    column.row(rawValue(MonitorSection::sensors),
        everyReadout<SensorsReadout>(MonitorSection::sensors, "sensorsReadout"));
}

void drawMachines(Column& column)
{
    choose(choice("meterStyle", MeterStyle::bars));
    for (const Machine& machine : machines()) {
        CoreTopology::useTiers(machine.tiers);
        column.row(QString::fromLatin1(machine.caption),
            everyReadout<CPUReadout>(MonitorSection::cpu, "cpuReadout"));
    }
}

void drawColumn(Column& column)
{
    for (const auto& labels : allCases<MeterLabelStyle>()) {
        for (const auto& shape : allCases<MeterShape>()) {
            chooseFactory();
            choose(choice("meterLabelStyle", labels.value));
            choose(choice("meterShape", shape.value));
            column.heading(QStringLiteral("%1, %2").arg(rawValue(labels.value), rawValue(shape.value)));
            drawReadouts(column);
            drawMachines(column);
        }
    }
    column.heading(QStringLiteral("symbols"));
    for (const double pointSize : { 12.0, 16.0, 32.0 })
        column.symbols(pointSize);
}

QImage columnImage(double scale, ColourScheme scheme, int height)
{
    QImage image(int(columnWidth * scale), int(height * scale), QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(scale);
    image.fill(scheme == ColourScheme::dark ? QColor(0x2B, 0x2C, 0x30) : QColor(Qt::white));
    QPainter painter(&image);
    Column column(painter, scale, scheme);
    drawColumn(column);
    return image;
}

int measuredHeight()
{
    QImage nothing(1, 1, QImage::Format_ARGB32_Premultiplied);
    QPainter painter(&nothing);
    Column column(painter, 1, ColourScheme::light);
    drawColumn(column);
    return column.height() + margin;
}

} // namespace

int main(int argc, char** argv)
{
    // The user's own settings are neither read nor written.
    QTemporaryDir home;
    qputenv("XDG_CONFIG_HOME", home.path().toUtf8());
    qputenv("KESTRUM_SETTINGS_SUITE", "contact-sheet");
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    QGuiApplication application(argc, argv);
    const QStringList arguments = QGuiApplication::arguments();
    if (arguments.size() != 2) {
        std::fputs("usage: contact-sheet OUT.png\n", stderr);
        return 2;
    }
    QGuiApplication::setFont(QFont(QStringLiteral("Inter")));

    // Columns at scale 1 are enlarged without smoothing, so that their pixels can be compared with the other columns.
    const int height = measuredHeight();
    QImage sheet(columnWidth * 2 * 4, height * 2, QImage::Format_RGB32);
    QPainter painter(&sheet);
    int x = 0;
    for (const double scale : { 1.0, 2.0 }) {
        for (const ColourScheme scheme : { ColourScheme::light, ColourScheme::dark }) {
            QImage column = columnImage(scale, scheme, height);
            column.setDevicePixelRatio(1);
            painter.drawImage(QRect(x, 0, columnWidth * 2, height * 2), column);
            x += columnWidth * 2;
        }
    }
    painter.end();
    if (!sheet.save(arguments[1])) {
        std::fprintf(stderr, "contact-sheet: cannot write %s\n", qPrintable(arguments[1]));
        return 1;
    }
    return 0;
}
