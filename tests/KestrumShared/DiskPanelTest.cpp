#include "tests/Support/DescribedPanel.h"
#include "tests/Support/TestHome.h"
#include "tests/Support/TestSession.h"
#include "tests/Support/Text.h"

#include <QTest>

using namespace kestrum;

class DiskPanelTest : public QObject {
    Q_OBJECT

    PopoverReadings m_readings;

    DescribedPanel panel() const { return { MonitorSection::storage, m_readings }; }
    QStringList lines() const { return panel().lines(); }
    QStringList section(const char* title) const
    {
        QStringList lines = this->lines();
        lines = lines.mid(lines.indexOf(text(title)));
        qsizetype end = 1;
        while (end < lines.size() && !lines[end].startsWith(u'#'))
            ++end;
        return lines.first(end);
    }

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
            text("# VOLUMES\n"
                 "/ | 412 GB free\n"
                 "/ 0.58\n"
                 "/home | 69.4 GB free\n"
                 "/home 0.93\n"
                 "Backup | 2.76 TB free\n"
                 "Backup 0.31\n"
                 "nas:/media | No answer\n"
                 "nas:/media\n"
                 "# ACTIVITY | Last 5 minutes\n"
                 "Read | 12.4 MB/s\n"
                 "Write | 48.1 MB/s\n"
                 "Read | 12.4 MB/s\n"
                 "Write | 48.1 MB/s\n"
                 "Pressure | 2 %\n"
                 "# APPS | Read | Write\n"
                 "Read\n"
                 "Write\n"
                 "rsync | 11.9 MB/s | 38.0 MB/s\n"
                 "Firefox | – | 6.2 MB/s\n"
                 "cargo | 400 kB/s | 3.9 MB/s"));
        QCOMPARE(withPlainBlanks(panel().element(text("Disk")).name), text("Disk, 58 %"));
        QCOMPARE(panel().element(text("nas:/media")).name, text("nas:/media, no answer"));
        QCOMPARE(panel().element(text("cargo")).name, text("cargo, read 400 kB/s, write 3.9 MB/s"));
    }

    void aVolumeBeforeItsFirstAnswerHasADash()
    {
        const double height = panel().height();
        m_readings.disk.volumes.last().isSilent = false;
        QCOMPARE(section("# VOLUMES").last(2), QStringList({ text("nas:/media | –"), text("nas:/media") }));
        QCOMPARE(panel().height(), height);
    }

    void aVolumeThatNoLongerAnswersShowsNoOldNumber()
    {
        m_readings.disk.volumes.first().isSilent = true;
        QCOMPARE(section("# VOLUMES").mid(1, 2), QStringList({ text("/ | No answer"), text("/") }));
    }

    void volumesBeyondTheListAreCounted()
    {
        m_readings.disk.moreVolumes = 3;
        QCOMPARE(section("# VOLUMES").last(), text("3 more"));
    }

    void withoutVolumesThereIsNoSectionForThem()
    {
        m_readings.disk.volumes.clear();
        QCOMPARE(lines().first(), text("# ACTIVITY | Last 5 minutes"));
    }

    void activityWithoutSources_data()
    {
        QTest::addColumn<bool>("hasRates");
        QTest::addColumn<bool>("hasPressure");
        QTest::addColumn<QString>("shown");
        const auto row = [](const char* name, bool hasRates, bool hasPressure, const char* shown) {
            QTest::newRow(name) << hasRates << hasPressure << text(shown);
        };
        row("no pressure", true, false,
            "# ACTIVITY | Last 5 minutes\nRead | 12.4 MB/s\nWrite | 48.1 MB/s\nRead | 12.4 MB/s\nWrite | "
            "48.1 MB/s");
        row("no rates", false, true, "# ACTIVITY\nPressure | 2 %");
        row("nothing", false, false, "");
    }
    void activityWithoutSources()
    {
        QFETCH(bool, hasRates);
        QFETCH(bool, hasPressure);
        QFETCH(QString, shown);
        if (!hasRates) {
            m_readings.disk.readRate = {};
            m_readings.disk.writeRate = {};
        }
        if (!hasPressure)
            m_readings.disk.pressure = {};
        if (shown.isEmpty())
            QVERIFY(!lines().join(u'\n').contains(text("ACTIVITY")));
        else
            QCOMPARE(section(qPrintable(shown.section(u'\n', 0, 0))).join(u'\n'), shown);
    }

    void lostValuesKeepTheirRows()
    {
        const double height = panel().height();
        m_readings.disk.readRate.value.reset();
        m_readings.disk.writeRate.value.reset();
        m_readings.disk.pressure.value.reset();
        QCOMPARE(section("# ACTIVITY | Last 5 minutes").last(3),
            QStringList({ text("Read | –"), text("Write | –"), text("Pressure | –") }));
        QCOMPARE(panel().height(), height);
    }

    void threeRowsOfAppsAreReserved()
    {
        const double height = panel().height();
        m_readings.disk.apps.clear();
        QCOMPARE(panel().height(), height);
        m_readings.disk.apps = QList<AppUse>(4, { text("a"), text("App"), 0, 0, 499, 500 });
        QCOMPARE(panel().height(), height);
        QCOMPARE(lines().count(text("App | – | 0 kB/s")), 3);
    }

    void theHeadsOfTheAppsSayWhoseTheyAre()
    {
        for (const char* head : { "Read", "Write" }) {
            const PanelElement element = panel().first([&](const PanelElement& one) {
                return one.name == text(head) && one.tip == text("Your own programs");
            });
            QVERIFY2(!element.rect.isEmpty(), head);
        }
    }

    void fullVolumesHaveAColour_data()
    {
        QTest::addColumn<double>("used");
        QTest::addColumn<int>("hue");
        QTest::newRow("89.9") << 0.899 << 210;
        QTest::newRow("90") << 0.90 << 37;
        QTest::newRow("96.9") << 0.969 << 37;
        QTest::newRow("97") << 0.97 << 1;
        QTest::newRow("100") << 1.0 << 1;
    }
    void fullVolumesHaveAColour()
    {
        QFETCH(double, used);
        QFETCH(int, hue);
        SharedSettings::store().set(Keys::storageAccent.name, text("custom:srgb:0.0,0.2,0.4"));
        m_readings.disk.volumes.first().space->used = used;
        const QRectF bar
            = panel().first([](const PanelElement& element) { return element.fraction.has_value(); }).rect;
        const QColor colour = panel().drawn().at(bar.left() + 20, bar.center().y());
        QVERIFY2(std::abs(colour.hslHue() - hue) <= 4, qPrintable(colour.name()));
    }

    void namesAndNumbersChangeSidesInARightToLeftPanel()
    {
        const auto ink = [this](Qt::LayoutDirection direction, bool isLeft) {
            const DescribedPanel panel(
                MonitorSection::storage, m_readings, {}, PanelFixture::in(ColourScheme::light, direction));
            // The row of "/": one sign at the leading edge, a number at the other.
            QRectF half = panel.element(text("/")).rect;
            half.setWidth(half.width() / 2);
            return panel.drawn().drawn(isLeft ? half : half.translated(half.width(), 0));
        };
        for (const auto direction : { Qt::LeftToRight, Qt::RightToLeft }) {
            const bool isFromLeft = direction == Qt::LeftToRight;
            QVERIFY(ink(direction, isFromLeft).width() < 8);
            QVERIFY(ink(direction, !isFromLeft).width() > 40);
        }
    }
};

KESTRUM_TEST_MAIN(QGuiApplication, DiskPanelTest)
#include "DiskPanelTest.moc"
