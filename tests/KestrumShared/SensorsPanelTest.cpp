#include "KestrumShared/Raster/HeatColour.h"
#include "tests/Support/DescribedPanel.h"
#include "tests/Support/TestHome.h"
#include "tests/Support/TestSession.h"
#include "tests/Support/Text.h"

#include <QTest>

using namespace kestrum;

class SensorsPanelTest : public QObject {
    Q_OBJECT

    PopoverReadings m_readings;
    PopoverState m_state;

    SensorsPopoverReadings& sensors() { return m_readings.sensors; }
    DescribedPanel panel() const { return { MonitorSection::sensors, m_readings, m_state }; }
    QStringList lines() const { return panel().lines(); }
    QString header() const { return withPlainBlanks(panel().element(text("Sensors")).columns.value(1)); }

private Q_SLOTS:
    void initTestCase() { QVERIFY2(DrawingFixture::prepare(), DrawingFixture::noFont); }
    void init()
    {
        forgetSettings();
        setSession("LANG=en_GB.UTF-8");
        m_readings = SamplePopoverReadings::rich();
        m_state = {};
    }

    void rowsAndTheirOrder()
    {
        QCOMPARE(lines().join(u'\n'),
            text("# TEMPERATURES | Highest | Now\n"
                 "Highest\n"
                 "CPU | 81°C | 48°C\n"
                 "GPU | 63°C | 41°C\n"
                 "Samsung 980 PRO | 88°C | 86°C\n"
                 "Memory modules | 46°C | 44°C\n"
                 "Mainboard | 40°C | 38°C\n"
                 "Wi-Fi | 49°C | 47°C\n"
                 "CPU | 48°C\n"
                 "GPU | 41°C\n"
                 "# FANS | rpm\n"
                 "Processor fan | 2,310 | 1,240\n"
                 "Chassis fan | 880 | 0\n"
                 "# POWER\n"
                 "Whole computer | 24 W\n"
                 "CPU | 12 W\n"
                 "GPU | 4 W\n"
                 "# BATTERY | 78 %\n"
                 "Battery 0.78\n"
                 "Discharging | 3 h 10 min left"));
        QCOMPARE(panel().element(text("CPU")).name, text("CPU, highest 81°C, now 48°C"));
    }

    void rowsOfAPoorMachine()
    {
        m_readings = SamplePopoverReadings::poor();
        QCOMPARE(lines().join(u'\n'),
            text("# TEMPERATURES | Highest | Now\n"
                 "Highest\n"
                 "CPU | 81°C | 48°C\n"
                 "CPU | 48°C\n"
                 "# POWER\n"
                 "CPU | Needs permission"));
        QCOMPARE(header(), text("48°C"));
    }

    void sectionsWithoutSourcesAreGone()
    {
        sensors() = {};
        QVERIFY2(lines().isEmpty(), "nobody knows yet");
        sensors().isAnswered = true;
        QCOMPARE(lines(), QStringList { text("# No sensors") });
        QCOMPARE(header(), QString());
    }

    void lostValuesKeepTheirRows()
    {
        const double height = panel().height();
        const qsizetype count = lines().size();
        sensors().highest.clear();
        for (SensorDevice& device : sensors().devices)
            device.celsius.reset();
        for (FanSpeed& fan : sensors().fans)
            fan.rpm.reset();
        for (RowValue<double>* watts : { &sensors().wholeWatts, &sensors().cpuWatts, &sensors().gpuWatts })
            watts->value.reset();
        sensors().battery.reset();
        for (const char* line : { "CPU | – | –", "Wi-Fi | – | –", "Chassis fan | – | –", "Whole computer | –",
                 "CPU | –", "GPU | –", "# BATTERY | –", "Battery" })
            QVERIFY2(lines().contains(text(line)), line);
        QCOMPARE(lines().size(), count);
        QCOMPARE(panel().height(), height);
    }

    void theHeaderShowsTheItemsReadout_data()
    {
        QTest::addColumn<QString>("readout");
        QTest::addColumn<QString>("present");
        QTest::addColumn<QString>("absent");
        const auto row = [](const char* readout, const char* present, const char* absent) {
            QTest::newRow(readout) << text(readout) << text(present) << text(absent);
        };
        row("power", "24 W", "86°C");
        row("hottest", "86°C", "86°C");
        row("gpu", "41°C", "86°C");
        row("fan", "1,240 rpm", "86°C");
        row("off", "86°C", "86°C");
        row("nonsense", "24 W", "86°C");
    }
    void theHeaderShowsTheItemsReadout()
    {
        QFETCH(QString, readout);
        SharedSettings::store().set(Keys::sensorsReadout.name, readout);
        QTEST(header(), "present");
        sensors().systemWatts.reset();
        sensors().gpu.reset();
        sensors().fastestFan.reset();
        // Without the item's reading, the hottest device counts.
        sensors().hottest.reset();
        QTEST(header(), "absent");
    }

    void anAsleepDeviceKeepsItsHighest()
    {
        sensors().devices[1].isAsleep = true;
        sensors().devices[1].celsius.reset();
        QVERIFY(lines().contains(text("GPU | 63°C | Asleep")));
        QCOMPARE(panel().element(text("GPU")).name, text("GPU, asleep"));
    }

    void devicesAreNamedByKindModelAndNumber_data()
    {
        using Kind = SensorDevice::Kind;
        QTest::addColumn<Kind>("kind");
        QTest::addColumn<QString>("model");
        QTest::addColumn<int>("number");
        QTest::addColumn<QString>("name");
        const auto row = [](Kind kind, const char* model, int number, const char* name) {
            QTest::newRow(name) << kind << text(model) << number << text(name);
        };
        row(Kind::cpu, "", 0, "CPU");
        row(Kind::gpu, "", 2, "GPU 2");
        row(Kind::disk, "", 0, "Disk");
        row(Kind::disk, "Samsung 980 PRO", 2, "Samsung 980 PRO 2");
        row(Kind::memory, "", 2, "Memory modules 2");
        row(Kind::mainboard, "", 0, "Mainboard");
        row(Kind::chipset, "", 0, "Chipset");
        row(Kind::wiFi, "", 0, "Wi-Fi");
        row(Kind::network, "", 1, "Network 1");
        row(Kind::battery, "", 0, "Battery");
        row(Kind::other, "tmp401", 0, "tmp401");
        row(Kind::other, "", 0, "device-0");
    }
    void devicesAreNamedByKindModelAndNumber()
    {
        QFETCH(SensorDevice::Kind, kind);
        QFETCH(QString, model);
        QFETCH(int, number);
        sensors().devices = { { text("device-0"), kind, number, model, 40.0, false, {} } };
        QFETCH(QString, name);
        QCOMPARE(lines().value(2), name + text(" | – | 40°C"));
    }

    void aDeviceOpensItsInputs()
    {
        const PanelElement closed = panel().element(text("Samsung 980 PRO"));
        QCOMPARE(closed.action, (PanelAction { PanelAction::Kind::toggleDevice, text("nvme") }));
        QVERIFY2(!panel().element(text("Wi-Fi")).action, "a device without inputs cannot be opened");
        const QStringList before = lines();
        m_state.openDevices = { text("nvme"), text("gone") };
        QStringList expected = before;
        const qsizetype row = before.indexOf(text("Samsung 980 PRO | 88°C | 86°C"));
        expected.insert(row + 1, text("Composite | 86°C"));
        expected.insert(row + 2, text("Sensor 1 | 79°C"));
        QCOMPARE(lines(), expected);
        sensors().devices[2].inputs[1].celsius.reset();
        QVERIFY(lines().contains(text("Sensor 1 | –")));
    }

    void theHeadResetsTheHighestAndSaysSinceWhen()
    {
        const PanelElement head
            = panel().first([](const PanelElement& element) { return element.name == text("Highest"); });
        QCOMPARE(head.action, PanelAction { PanelAction::Kind::resetHighest });
        QVERIFY2(head.tip.startsWith(text("Highest since ")) && head.tip.contains(text("2026")),
            qPrintable(head.tip));
    }

    void withoutAnyValueTheHeadSaysNoTime()
    {
        sensors().highest.clear();
        sensors().highestSince = {};
        const PanelElement head
            = panel().first([](const PanelElement& element) { return element.name == text("Highest"); });
        QCOMPARE(head.action, PanelAction { PanelAction::Kind::resetHighest });
        QCOMPARE(head.tip, QString());
    }

    void devicesBeyondTheListAreCounted()
    {
        sensors().moreDevices = 2;
        QVERIFY(lines().contains(text("2 more")));
    }

    void theGraphHasALineForEachOfCPUAndGPU()
    {
        sensors().devices.removeAt(1);
        QVERIFY(!lines().contains(text("GPU | 41°C")));
        QVERIFY(lines().contains(text("CPU | 48°C")));
        sensors().devices.removeAt(0);
        QVERIFY(!lines().contains(text("CPU | 48°C")));
    }

    void fansWithoutNamesAreNumbered()
    {
        sensors().fans = { { text("a"), QString(), 1, 900 }, { text("b"), QString(), 0, 29999 } };
        QVERIFY(lines().contains(text("Fan 1 | – | 900")));
        QVERIFY(lines().contains(text("Fan | – | 29,999")));
    }

    void theExplanationIsInPlaceOfTheRowsBelow()
    {
        sensors().cpuWatts = {};
        sensors().cpuPowerAccess = PowerAccess::denied;
        QVERIFY(lines().contains(text("CPU | Needs permission")));
        QVERIFY(lines().contains(text("GPU | 4 W")));
        m_state.explainsPower = true;
        QVERIFY(!lines().contains(text("GPU | 4 W")));
        QVERIFY(lines().join(u'\n').contains(text("kestrum-powercap.conf")));
        QVERIFY2(lines().contains(text("# BATTERY | 78 %")), "the next section stays");
    }

    void aBatterySaysHowLong_data()
    {
        using Status = BatteryState::Status;
        QTest::addColumn<Status>("status");
        QTest::addColumn<int>("minutes");
        QTest::addColumn<QString>("shown");
        const auto row = [](Status status, int minutes, const char* shown) {
            QTest::newRow(shown) << status << minutes << text(shown);
        };
        row(Status::discharging, 192, "Discharging | 3 h 10 min left");
        row(Status::discharging, -1, "Discharging");
        row(Status::charging, 42, "Charging | 42 min until full");
        row(Status::full, 0, "Full");
        row(Status::notCharging, 9, "Not charging");
    }
    void aBatterySaysHowLong()
    {
        QFETCH(BatteryState::Status, status);
        QFETCH(int, minutes);
        sensors().battery = { 0.5, status, minutes < 0 ? std::nullopt : std::optional(minutes) };
        QTEST(lines().last(), "shown");
    }

    void anEmptyingBatteryHasAColour_data()
    {
        using Status = BatteryState::Status;
        QTest::addColumn<double>("charge");
        QTest::addColumn<Status>("status");
        QTest::addColumn<int>("hue");
        constexpr int blue = 208;
        QTest::newRow("enough") << 0.21 << Status::discharging << blue;
        QTest::newRow("amber") << 0.20 << Status::discharging << 37;
        QTest::newRow("still amber") << 0.11 << Status::discharging << 37;
        QTest::newRow("red") << 0.10 << Status::discharging << 1;
        QTest::newRow("charging") << 0.10 << Status::charging << blue;
        QTest::newRow("not charging") << 0.05 << Status::notCharging << blue;
    }
    void anEmptyingBatteryHasAColour()
    {
        QFETCH(double, charge);
        QFETCH(BatteryState::Status, status);
        QFETCH(int, hue);
        sensors().battery = { charge, status, std::nullopt };
        const QRectF bar
            = panel().first([](const PanelElement& element) { return element.fraction.has_value(); }).rect;
        const QColor colour = panel().drawn().at(bar.left() + 6, bar.center().y());
        QVERIFY2(std::abs(colour.hslHue() - hue) <= 4, qPrintable(colour.name()));
    }

    void temperaturesHaveTheChosenUnit()
    {
        SharedSettings::store().set(Keys::temperatureUnit.name, text("fahrenheit"));
        QVERIFY(lines().contains(text("CPU | 178°F | 118°F")));
    }

    void hotDevicesHaveAColour()
    {
        const auto colours = [this](double celsius) {
            for (SensorDevice& device : sensors().devices)
                device.celsius = celsius;
            const QRectF row = panel().element(text("Wi-Fi")).rect;
            const auto has = [&](double degrees) {
                return !panel().drawn().drawn(row, HeatColour::of(degrees, ColourScheme::light)).isNull();
            };
            return std::pair(has(85), has(95));
        };
        QCOMPARE(colours(84), std::pair(false, false));
        QCOMPARE(colours(85), std::pair(true, false));
        QCOMPARE(colours(95), std::pair(false, true));
    }

    // The lines are those of the hottest of a kind.
    void eachProcessorAndGraphicsCardHasItsLinesDot()
    {
        using Kind = SensorDevice::Kind;
        sensors().devices = { { text("a"), Kind::cpu, 1, {}, 48.0, false, {} },
            { text("b"), Kind::cpu, 2, {}, 52.0, false, {} }, { text("c"), Kind::gpu, 1, {}, {}, true, {} },
            { text("d"), Kind::gpu, 2, {}, 60.0, false, {} },
            { text("e"), Kind::disk, 0, {}, 40.0, false, {} } };
        const auto dotAt = [this](const char* device) {
            const QRectF row = panel()
                                   .first([device](const PanelElement& element) {
                                       return withPlainBlanks(element.columns.value(0)) == text(device);
                                   })
                                   .rect;
            return panel().drawn().at(row.left() + 3.5, row.center().y());
        };
        const QColor background = dotAt("Disk");
        QVERIFY(dotAt("CPU 1") != background);
        QCOMPARE(dotAt("CPU 2"), dotAt("CPU 1"));
        QVERIFY(dotAt("GPU 1") != background && dotAt("GPU 1") != dotAt("CPU 1"));
        QCOMPARE(dotAt("GPU 2"), dotAt("GPU 1"));
    }

    void equalAccentsStayApartInTheGraph()
    {
        SharedSettings::store().set(Keys::cpuAccent.name, text("blue"));
        SharedSettings::store().set(Keys::cpuFastCoreAccent.name, text("blue"));
        const auto keyAt = [this](const char* device) {
            const QRectF row = panel().element(text(device)).rect;
            return panel().drawn().at(row.left() + 3.5, row.center().y());
        };
        QVERIFY(keyAt("CPU") != QColor(Qt::white));
        QVERIFY(keyAt("CPU") != keyAt("GPU"));
    }
};

KESTRUM_TEST_MAIN(QGuiApplication, SensorsPanelTest)
#include "SensorsPanelTest.moc"
