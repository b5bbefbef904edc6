#include "tests/Support/DescribedPanel.h"
#include "tests/Support/TestHome.h"
#include "tests/Support/TestSession.h"
#include "tests/Support/Text.h"

#include <QTest>

using namespace kestrum;

class MemoryPanelTest : public QObject {
    Q_OBJECT

    PopoverReadings m_readings;

    DescribedPanel panel() const { return { MonitorSection::memory, m_readings }; }
    QStringList lines() const { return panel().lines(); }

private Q_SLOTS:
    void initTestCase() { QVERIFY2(DrawingFixture::prepare(), DrawingFixture::noFont); }
    void init()
    {
        forgetSettings();
        setSession("LANG=en_GB.UTF-8");
        m_readings = SamplePopoverReadings::rich();
    }

    void rowsAndTheirOrder()
    {
        QCOMPARE(lines().join(u'\n'),
            text("# PRESSURE | 4 %\n"
                 "Pressure 0.04\n"
                 "Memory Used | 10.24 GB of 16 GB\n"
                 "App Memory | 6.75 GB\n"
                 "System Memory | 2.21 GB\n"
                 "Compressed | 1.28 GB\n"
                 "Cache | 3.52 GB\n"
                 "# USAGE | Last 5 minutes\n"
                 "App Memory | 42 %\n"
                 "System Memory | 14 %\n"
                 "Compressed | 8 %\n"
                 "Cache | 22 %\n"
                 "# SWAP | 1.20 GB of 8 GB\n"
                 "Swap 0.15\n"
                 "# APPS | Memory\n"
                 "Firefox | 2.84 GB\n"
                 "Visual Studio Code | 1.42 GB\n"
                 "GNOME Shell | 612 MB\n"
                 "Signal | 388 MB\n"
                 "cargo | 301 MB"));
        QCOMPARE(withPlainBlanks(panel().element(text("Memory")).name), text("Memory, 64 %"));
        QCOMPARE(panel().element(text("Signal")).name, text("Signal, memory 388 MB"));
    }

    void thePartsOfTheMemoryAreNotInTheGroupOfThePressure()
    {
        QCOMPARE(panel().groupOf(text("PRESSURE")), QStringList(text("Pressure")));
    }

    void withoutCompressionAndSwapTheirRowsAreGone()
    {
        QStringList expected = lines();
        for (const char* line :
            { "Compressed | 1.28 GB", "Compressed | 8 %", "# SWAP | 1.20 GB of 8 GB", "Swap 0.15" })
            QCOMPARE(expected.removeAll(text(line)), 1);
        m_readings.memory.hasCompressed = false;
        m_readings.memory.hasSwap = false;
        QCOMPARE(lines(), expected);
    }

    void aRowThatIsThereStaysWithNothingInIt()
    {
        const double height = panel().height();
        m_readings.memory.parts.compressed = 0;
        m_readings.memory.parts.swapUsed = 0;
        QCOMPARE(panel().height(), height);
        QVERIFY(lines().contains(text("Compressed | 0 kB")));
        QVERIFY(lines().contains(text("# SWAP | 0 kB of 8 GB")));
    }

    void noMemoryIsNoCrash()
    {
        m_readings.memory = {};
        m_readings.memory.hasSwap = true;
        QVERIFY(lines().contains(text("Memory Used | 0 kB of 0 bytes")));
        QCOMPARE(withPlainBlanks(panel().element(text("Memory")).name), text("Memory, 0 %"));
    }

    void rowsOfAppsAreReserved()
    {
        const double height = panel().height();
        m_readings.memory.apps.clear();
        QCOMPARE(panel().height(), height);
        QCOMPARE(lines().last(), text("# APPS | Memory"));
    }

    void keysAreOneAccentInThreeStrengthsAndGrey_data()
    {
        QTest::addColumn<ColourScheme>("scheme");
        QTest::newRow("light") << ColourScheme::light;
        QTest::newRow("dark") << ColourScheme::dark;
    }
    void keysAreOneAccentInThreeStrengthsAndGrey()
    {
        QFETCH(ColourScheme, scheme);
        SharedSettings::store().set(Keys::memoryAccent.name, text("purple"));
        const PanelEnvironment environment = PanelFixture::in(scheme);
        const QColor accent = environment.readable(MeterAccent(MeterAccent::Name::purple).color());
        const DescribedPanel panel(MonitorSection::memory, m_readings, {}, environment);
        const PanelPixels pixels = panel.drawn();
        const auto key = [&](const char* title) {
            const QRectF row = panel.element(text(title)).rect;
            return pixels.at(row.left() + 3.5, row.center().y());
        };
        const auto strength = [&](double share) {
            QColor colour = accent;
            colour.setAlphaF(float(share));
            return laidOver(colour, environment.ground());
        };
        QVERIFY_COLOUR(key("App Memory"), accent);
        QVERIFY_COLOUR(key("System Memory"), strength(0.62));
        QVERIFY_COLOUR(key("Compressed"), strength(0.36));
        QVERIFY2(key("Cache").hslSaturationF() < 0.1F, qPrintable(key("Cache").name()));
        QVERIFY(key("Cache") != key("Memory Used"));
    }
};

KESTRUM_TEST_MAIN(QGuiApplication, MemoryPanelTest)
#include "MemoryPanelTest.moc"
