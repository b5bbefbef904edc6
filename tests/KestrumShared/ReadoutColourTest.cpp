// The colours of readouts, measured in the drawn pixels.

#include "Kestrum/Form/Theme.h"
#include "Kestrum/MenuBar/MenuBarPage.h"
#include "KestrumShared/Items/StripBackground.h"
#include "KestrumShared/Raster/LabelColour.h"
#include "tests/Support/DrawingFixture.h"
#include "tests/Support/TestHome.h"

#include <QApplication>
#include <QLabel>
#include <QTest>

using namespace kestrum;
using DrawingFixture::set;
using enum MonitorSection;

class ReadoutColourTest : public QObject {
    Q_OBJECT
public:
    enum class Hue { label, amber, red, other };
    Q_ENUM(Hue)

private:
    std::shared_ptr<FakeReadings> m_readings;

    /// The only opaque colour of a drawn readout; an invalid colour if there is none or more than one.
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

    static Hue hueOf(const QColor& colour, ColourScheme scheme)
    {
        if (colour == labelColour(scheme))
            return Hue::label;
        if (colour.hsvSaturation() < 100)
            return Hue::other;
        const int hue = colour.hsvHue();
        return hue >= 25 && hue <= 45 ? Hue::amber : hue >= 345 || hue <= 10 ? Hue::red : Hue::other;
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
        QTest::addColumn<QByteArray>("readout");
        QTest::addColumn<double>("celsius");
        QTest::addColumn<Hue>("hue");
        for (const char* readout : { "hottest", "gpu" }) {
            const auto row = [readout](double celsius, Hue hue) {
                QTest::addRow("%s %g", readout, celsius) << QByteArray(readout) << celsius << hue;
            };
            row(-5, Hue::label);
            row(84.9, Hue::label);
            row(85, Hue::amber);
            row(94.9, Hue::amber);
            row(95, Hue::red);
            row(110, Hue::red);
        }
    }
    void aTemperatureOfTheSensorsWarns()
    {
        QFETCH(const QByteArray, readout);
        QFETCH(const double, celsius);
        QFETCH(const Hue, hue);
        set("sensorsReadout", readout);
        // The temperature that is not shown has another value.
        m_readings->hottest = readout == "hottest" ? celsius : 90;
        m_readings->gpuCelsius = readout == "gpu" ? celsius : 90;
        for (const ColourScheme scheme : { ColourScheme::light, ColourScheme::dark }) {
            const QColor drawn = colourOf(sensors, scheme);
            QCOMPARE(hueOf(drawn, scheme), hue);
            for (const QColor& plate :
                { StripBackground::plate(scheme), Theme::colour(Theme::Colour::previewPlate, scheme) })
                QVERIFY2(Theme::contrast(drawn, plate) >= 4.5, qPrintable(drawn.name()));
        }
        // The unit of the shown number makes no difference to the colour.
        set("temperatureUnit", "fahrenheit");
        QCOMPARE(hueOf(colourOf(sensors), ColourScheme::light), hue);
    }

    void theColourFollowsTheReadingFromDrawingToDrawing()
    {
        set("sensorsReadout", "hottest");
        for (const auto& [celsius, hue] : QList<std::pair<double, Hue>> {
                 { 96, Hue::red }, { 86, Hue::amber }, { 66, Hue::label }, { 96, Hue::red } }) {
            m_readings->hottest = celsius;
            QCOMPARE(hueOf(colourOf(sensors), ColourScheme::light), hue);
        }
    }

    void theRedOfTheLightPlateIsDark()
    {
        m_readings->hottest = 95;
        set("sensorsReadout", "hottest");
        QCOMPARE(colourOf(sensors), QColor(0xA6, 0x00, 0x1C));
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
