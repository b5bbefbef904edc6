#include "KestrumShared/Raster/HeatColour.h"
#include "tests/Support/DescribedPanel.h"
#include "tests/Support/TestHome.h"
#include "tests/Support/TestSession.h"
#include "tests/Support/Text.h"

#include <QTest>

using namespace kestrum;

class CPUPanelTest : public QObject {
    Q_OBJECT

    PopoverReadings m_readings;
    PopoverState m_state;

    DescribedPanel panel() const { return { MonitorSection::cpu, m_readings, m_state }; }
    QStringList lines() const { return panel().lines(); }

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
            text("# USAGE | Last 5 minutes\n"
                 "Usage | 49 %\n"
                 "# CORES | 16\n"
                 "Efficiency | 26 % 0.26\n"
                 "Performance | 71 % 0.71\n"
                 "# APPS | Cores | CPU\n"
                 "Firefox | 3.9 | 24 %\n"
                 "cargo | 2.2 | 14 %\n"
                 "GNOME Shell | 0.8 | 5 %\n"
                 "Spotify | 0.2 | 1 %\n"
                 "Kernel | 0.1 | 1 %\n"
                 "Temperature | 48°C\n"
                 "Power | 12 W\n"
                 "Frequency | 3.42 GHz\n"
                 "Load | 5.24  3.96  2.71\n"
                 "Uptime | 3 d 4 h"));
        QCOMPARE(withPlainBlanks(panel().element(text("CPU")).name), text("CPU, 49 %"));
        QCOMPARE(
            withPlainBlanks(panel().element(text("Firefox")).name), text("Firefox, cores 3.9, CPU 24 %"));
    }

    void onlyAppsAreInTheGroupOfThatName()
    {
        QCOMPARE(panel().groupOf(text("APPS")).join(u'|'), text("Firefox|cargo|GNOME Shell|Spotify|Kernel"));
    }

    void rowsOfAPoorMachine()
    {
        m_readings = SamplePopoverReadings::poor();
        QCOMPARE(lines().mid(2).join(u'\n'),
            text("# CORES | 2\n"
                 "# APPS | Cores | CPU\n"
                 "Firefox | 0.6 | 28 %\n"
                 "gedit | 0.2 | 10 %\n"
                 "GNOME Shell | 0.1 | 7 %\n"
                 "Kernel | 0.1 | 3 %\n"
                 "NetworkManager | 0.0 | 0 %\n"
                 "Power | Needs permission\n"
                 "Frequency | 3.42 GHz\n"
                 "Load | 5.24  3.96  2.71\n"
                 "Uptime | 3 d 4 h"));
    }

    void aValueWithoutASourceHasNoRow()
    {
        const QStringList all = lines();
        m_readings.cpu.celsius = {};
        m_readings.cpu.watts = {};
        m_readings.cpu.hertz = {};
        m_readings.cpu.load = {};
        m_readings.cpu.uptime = {};
        QCOMPARE(lines(), all.first(all.size() - 5));
    }

    void aLostValueKeepsItsRow()
    {
        const double height = panel().height();
        m_readings.cpu.celsius.value.reset();
        m_readings.cpu.watts.value.reset();
        m_readings.cpu.hertz.value.reset();
        m_readings.cpu.load.value.reset();
        m_readings.cpu.uptime.value.reset();
        QCOMPARE(lines().last(5),
            QStringList({ text("Temperature | –"), text("Power | –"), text("Frequency | –"), text("Load | –"),
                text("Uptime | –") }));
        QCOMPARE(panel().height(), height);
    }

    void rowsOfAppsAreReserved()
    {
        const double height = panel().height();
        m_readings.cpu.apps.clear();
        QCOMPARE(panel().height(), height);
        QVERIFY(!lines().contains(text("Kernel | 0.1 | 1 %")));
        m_readings.cpu.apps = QList<AppUse>(9, { text("a"), text("App"), 1 });
        QCOMPARE(panel().height(), height);
        QCOMPARE(lines().count(text("App | 1.0 | 6 %")), 5);
    }

    void onlyRowsOfAppsAreRanked()
    {
        QStringList ranked;
        const DescribedPanel panel = this->panel();
        for (const PanelElement& section : panel.elements()) {
            for (const PanelElement& element : section.children) {
                if (element.isRanked)
                    ranked.append(element.columns.first());
            }
        }
        QCOMPARE(ranked.join(u','), text("Firefox,cargo,GNOME Shell,Spotify,Kernel"));
    }

    void shareOfAnAppIsThatOfTheOnlineCores()
    {
        m_readings.cpu.apps = { { text("a"), text("App"), 1 } };
        m_readings.cpu.tiers.clear();
        m_readings.cpu.cores = { 0.5, 0.5, 0.5, 0.5 };
        QVERIFY(lines().contains(text("App | 1.0 | 25 %")));
        // Measured times are not exact.
        m_readings.cpu.apps.first().cores = 6;
        QVERIFY(lines().contains(text("App | 6.0 | 100 %")));
        m_readings.cpu.apps.first().cores = 1;
        m_readings.cpu.cores.clear();
        QVERIFY(lines().contains(text("App | 1.0 | 100 %")));
    }

    void coresAreDividedIntoTiers_data()
    {
        QTest::addColumn<QList<CoreTier>>("tiers");
        QTest::addColumn<int>("cores");
        QTest::addColumn<QString>("shown");
        const auto row = [](const char* name, const QList<int>& counts, int cores, const char* shown) {
            QList<CoreTier> tiers;
            for (const int count : counts)
                tiers.append({ tiers.isEmpty()              ? text("Performance")
                        : tiers.size() + 1 == counts.size() ? text("Efficiency")
                                                            : text("Level 1"),
                    count });
            QTest::newRow(name) << tiers << cores << text(shown);
        };
        // The loads are 0 %, 2 %, 4 % and so on.
        row("none", {}, 4, "");
        row("one", { 4 }, 4, "");
        row("two", { 2, 2 }, 4, "Efficiency | 1 % 0.01, Performance | 5 % 0.05");
        row("three", { 1, 2, 2 }, 5, "Efficiency | 1 % 0.01, Level 1 | 5 % 0.05, Performance | 8 % 0.08");
        row("a core is offline", { 2, 2 }, 3, "Efficiency | 0 % 0.00, Performance | 3 % 0.03");
        row("the slow ones are offline", { 2, 2 }, 2, "");
        row("more cores than known", { 1, 1 }, 4, "Efficiency | 2 % 0.02, Performance | 6 % 0.06");
    }
    void coresAreDividedIntoTiers()
    {
        QFETCH(QList<CoreTier>, tiers);
        QFETCH(int, cores);
        m_readings.cpu.tiers = tiers;
        m_readings.cpu.cores.clear();
        for (int i = 0; i < cores; ++i)
            m_readings.cpu.cores.append(i / 50.0);
        const QStringList all = lines();
        const qsizetype from = all.indexOf(text("# CORES | %1").arg(cores)) + 1;
        QVERIFY(from > 0);
        const QStringList bars = all.mid(from, all.indexOf(text("# APPS | Cores | CPU")) - from);
        QFETCH(QString, shown);
        QCOMPARE(bars.join(text(", ")), shown);
    }

    void aPointedCoreHasTheKernelsNumber()
    {
        m_readings.cpu.cores = { 0.1, 0.2, 0.3 };
        m_readings.cpu.tiers = { { text("Performance"), 2 }, { text("Efficiency"), 1 } };
        const QRectF fast = panel().element(text("Performance")).rect;
        PanelEnvironment environment = PanelFixture::in(ColourScheme::light);
        environment.pointer = QPointF(fast.left() + 2, fast.bottom() - 2);
        const auto pointed = [&](const QList<int>& numbers) {
            m_readings.cpu.coreNumbers = numbers;
            return DescribedPanel(MonitorSection::cpu, m_readings, {}, environment).drawn().image();
        };
        const QImage counted = pointed({});
        QCOMPARE(pointed({ 8, 1, 8 }), counted);
        QVERIFY(pointed({ 1, 0, 1 }) != counted);
    }

    void theRowWithoutPermissionExplainsItself()
    {
        m_readings = SamplePopoverReadings::poor();
        const QStringList closed = lines();
        const PanelElement row = panel().element(text("Power"));
        QCOMPARE(row.action, PanelAction { PanelAction::Kind::togglePowerHelp });
        m_state.explainsPower = true;
        const QStringList open = lines();
        const qsizetype power = open.indexOf(text("Power | Needs permission"));
        QCOMPARE(open.first(power + 1), closed.first(power + 1));
        QCOMPARE(open.size(), power + 3); // the rows below are gone
        QVERIFY2(open[power + 1].startsWith(text("Exact power readings")), qPrintable(open[power + 1]));
        const QString command
            = text("sudo install -m 644 /usr/share/doc/kestrum/kestrum-powercap.conf /etc/tmpfiles.d/"
                   " && sudo systemd-tmpfiles --create kestrum-powercap.conf");
        QCOMPARE(open.last(), command);
        const PanelElement copied = panel().element(command);
        QCOMPARE(copied.action, (PanelAction { PanelAction::Kind::copyText, command }));
        QCOMPARE(copied.name, text("Copy: ") + command);
    }

    void whatNeedsPermissionIsDimmed()
    {
        const PanelEnvironment light = PanelFixture::in(ColourScheme::light);
        const auto valueHas = [this](const QColor& colour) {
            const QRectF row = panel().element(text("Power")).rect;
            return !panel().drawn().drawn(row.adjusted(row.width() / 2, 0, 0, 0), colour).isNull();
        };
        QVERIFY(valueHas(light.textColour()));
        m_readings = SamplePopoverReadings::poor();
        QVERIFY(!valueHas(light.textColour()));
        QVERIFY(valueHas(light.secondaryTextColour()));
    }

    void aLoadThatIsNotMeasuredYetIsNotZero()
    {
        m_readings.cpu.usage.reset();
        QCOMPARE(panel().element(text("CPU")).name, text("CPU, –"));
    }

    void anExplanationEndsWhenThePowerIsKnown()
    {
        m_readings.cpu.powerAccess = PowerAccess::denied;
        m_state.explainsPower = true;
        QCOMPARE(lines().last(), text("Uptime | 3 d 4 h"));
        QVERIFY(lines().contains(text("Power | 12 W")));
        // A row that needs permission is there even where the popover opened without it.
        m_readings.cpu.watts = {};
        m_state.explainsPower = false;
        QVERIFY(lines().contains(text("Power | Needs permission")));
    }

    void theTitleOfTheAppsOpensTheSystemMonitorIfThereIsOne()
    {
        PanelElement title = panel().element(text("APPS"));
        QCOMPARE(title.action, PanelAction { PanelAction::Kind::openSystemMonitor });
        QCOMPARE(title.name, text("APPS, Open System Monitor"));
        m_state.hasSystemMonitor = false;
        title = panel().element(text("APPS"));
        QVERIFY(!title.action);
        QVERIFY(!title.name.contains(text("Open")));
    }

    void theHeaderHasPinGearAndTabs()
    {
        const auto actions = [this] {
            QStringList list;
            const DescribedPanel shown = panel();
            for (const PanelElement& element : shown.elements()) {
                if (element.action)
                    list.append(text("%1 %2 %3")
                                    .arg(int(element.action.kind))
                                    .arg(element.isChecked)
                                    .arg(element.action.argument)
                                    .trimmed());
            }
            return list;
        };
        const QString pin = QString::number(int(PanelAction::Kind::togglePin));
        const QString gear = QString::number(int(PanelAction::Kind::openSettings)) + text(" 0");
        QCOMPARE(actions(), QStringList({ pin + text(" 0"), gear }));
        m_state.isPinned = true;
        QCOMPARE(actions(), QStringList({ pin + text(" 1"), gear }));
        m_state.hasTabs = true;
        SharedSettings::store().set(Keys::menuBarOrder.name, text("memory,cpu,sensors,storage"));
        const auto sections = [this] {
            QStringList list;
            const DescribedPanel shown = panel();
            for (const PanelElement& element : shown.elements()) {
                if (element.action.kind == PanelAction::Kind::showSection)
                    list.append(element.action.argument);
            }
            return list.join(u',');
        };
        QCOMPARE(sections(), text("memory,cpu,sensors,storage"));
        // A section without an item has no popover either.
        SharedSettings::store().set(Keys::showSensorsItem.name, false);
        QCOMPARE(sections(), text("memory,cpu,storage"));
    }

    void highTemperaturesHaveAColour()
    {
        const auto has = [this](double celsius, const QColor& colour) {
            m_readings.cpu.celsius = celsius;
            return !panel().drawn().drawn(panel().element(text("Temperature")).rect, colour).isNull();
        };
        const QColor amber = HeatColour::of(85, ColourScheme::light);
        const QColor red = HeatColour::of(95, ColourScheme::light);
        QVERIFY(!has(84.9, amber));
        QVERIFY(has(85, amber));
        QVERIFY(has(94.9, amber));
        QVERIFY(!has(95, amber));
        QVERIFY(has(95, red));
    }

    void barsHaveTheChosenShapeAndAccents()
    {
        SharedSettings::store().set(Keys::cpuAccent.name, text("custom:srgb:0.5,0.0,0.0"));
        SharedSettings::store().set(Keys::cpuFastCoreAccent.name, text("custom:srgb:0.0,0.0,0.5"));
        const PanelPixels round = panel().drawn();
        const auto bars = [&](const char* tier, const QColor& colour) {
            return round.drawn(panel().element(text(tier)).rect, colour);
        };
        QVERIFY(!bars("Efficiency", QColor(128, 0, 0)).isNull());
        QVERIFY(!bars("Performance", QColor(0, 0, 128)).isNull());
        QVERIFY(bars("Efficiency", QColor(0, 0, 128)).isNull());
        QVERIFY(bars("Performance", QColor(128, 0, 0)).isNull());
        SharedSettings::store().set(Keys::meterShape.name, text("square"));
        QVERIFY(panel().drawn().image() != round.image());
    }
};

KESTRUM_TEST_MAIN(QGuiApplication, CPUPanelTest)
#include "CPUPanelTest.moc"
