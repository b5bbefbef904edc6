// The colours of readouts, measured in the drawn pixels.

#include "Kestrum/Form/Theme.h"
#include "Kestrum/MenuBar/MenuBarPage.h"
#include "KestrumShared/Items/StripBackground.h"
#include "KestrumShared/Raster/Contrast.h"
#include "KestrumShared/Raster/LabelColour.h"
#include "tests/Support/DrawingFixture.h"
#include "tests/Support/Rows.h"
#include "tests/Support/TestHome.h"

#include <QApplication>
#include <QLabel>
#include <QTest>

using namespace kestrum;
using DrawingFixture::set;
using enum MonitorSection;

class ReadoutColourTest : public QObject {
    Q_OBJECT

    struct Warning {
        const char* name;
        double celsius;
        QColor light;
        QColor dark;
    };

    std::shared_ptr<FakeReadings> m_readings;

    /// The only opaque colour of a drawn readout; invalid if there is no opaque colour or more than one.
    QColor colourOf(MonitorSection section, ColourScheme scheme = ColourScheme::light) const
    {
        constexpr int scale = 20;
        const QImage item = DrawingFixture::drawn(section, m_readings, scale, scheme);
        // The search begins after all parts before the readout.
        const double room = section == cpu ? StatusMetricView::cpuReadoutWidth() - 4 : 30;
        const int begin = int((StatusMetricView::itemWidth(section) - room) * scale);
        QColor found;
        for (int y = 0; y < item.height(); ++y) {
            for (int x = begin; x < item.width(); ++x) {
                const QColor pixel = item.pixelColor(x, y);
                if (pixel.alpha() < 255)
                    continue;
                if (found.isValid() && pixel != found)
                    return {};
                found = pixel;
            }
        }
        return found;
    }

private Q_SLOTS:
    void init()
    {
        QVERIFY2(DrawingFixture::prepare(), DrawingFixture::noFont);
        set("temperatureUnit", "celsius");
        m_readings = std::make_shared<FakeReadings>();
    }

    void aTemperatureOfTheSensorsWarns_data()
    {
        const QColor amber[] = { QColor(0x7A, 0x43, 0x00), QColor(0xFF, 0xC2, 0x47) };
        const QColor red[] = { QColor(0xA6, 0x00, 0x1C), QColor(0xFF, 0x8A, 0x80) };
        const QColor label[] = { labelColour(ColourScheme::light), labelColour(ColourScheme::dark) };
        addRows<Warning>({ { "-5", -5, label[0], label[1] }, { "84.9", 84.9, label[0], label[1] },
            { "85", 85, amber[0], amber[1] }, { "94.9", 94.9, amber[0], amber[1] },
            { "95", 95, red[0], red[1] }, { "110", 110, red[0], red[1] } });
    }
    void aTemperatureOfTheSensorsWarns()
    {
        QFETCH(Warning, row);
        for (const char* readout : { "hottest", "gpu" }) {
            set("sensorsReadout", readout);
            // Other temperatures are drawn first, to show that no colour is cached. The hidden temperature has another value.
            const bool isHottest = qstrcmp(readout, "hottest") == 0;
            for (const double celsius : { 86.0, 96.0, row.celsius }) {
                m_readings->hottest = isHottest ? celsius : 90;
                m_readings->gpuCelsius = isHottest ? 90 : celsius;
                colourOf(sensors);
            }
            for (const ColourScheme scheme : { ColourScheme::light, ColourScheme::dark }) {
                const QColor drawn = colourOf(sensors, scheme);
                QCOMPARE(drawn, scheme == ColourScheme::light ? row.light : row.dark);
                for (const QColor& plate :
                    { StripBackground::plate(scheme), Theme::colour(Theme::Colour::previewPlate, scheme) })
                    QVERIFY2(Contrast::ratio(drawn, plate) >= 4.5, qPrintable(drawn.name()));
            }
            // The unit of the shown number has no effect on the colour.
            set("temperatureUnit", "fahrenheit");
            QCOMPARE(colourOf(sensors), row.light);
            set("temperatureUnit", "celsius");
        }
    }

    void allOtherReadoutsHaveTheLabelsColour()
    {
        m_readings->cpuCelsius = m_readings->hottest = m_readings->gpuCelsius = m_readings->power = 99;
        m_readings->fan = 2000;
        for (const char* readout : { "power", "fan" }) {
            set("sensorsReadout", readout);
            QCOMPARE(colourOf(sensors), labelColour(ColourScheme::light));
        }
        set("sensorsReadout", "hottest");
        QCOMPARE(colourOf(cpu), labelColour(ColourScheme::light));
    }

    void theFootnoteNamesTheTemperaturesAtWhichItWarns()
    {
        set("language", "en");
        set("sensorsReadout", "hottest");
        const MenuBarPage page;
        QString note;
        for (const QLabel* label : page.findChildren<QLabel*>()) {
            if (label->text().contains(QStringLiteral("amber")))
                note = label->text();
        }
        for (const double from : { 85.0, 95.0 }) {
            m_readings->hottest = from - 0.01;
            const QColor below = colourOf(sensors);
            m_readings->hottest = from;
            QVERIFY(colourOf(sensors) != below);
            QVERIFY2(note.contains(QString::number(from)), qPrintable(note));
        }
    }
};

KESTRUM_TEST_MAIN(QApplication, ReadoutColourTest)
#include "ReadoutColourTest.moc"
