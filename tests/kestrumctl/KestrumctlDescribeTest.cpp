#include "KestrumShared/Items/SampleReadings.h"
#include "tests/Support/DescribedStrip.h"
#include "tests/Support/FileTree.h"
#include "tests/Support/TestHome.h"

#include <QGuiApplication>
#include <sys/stat.h>

using namespace kestrum;

class KestrumctlDescribeTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { registerFactoryDefaults(); }
    void init() { forgetSettings(); }

    void describesAllSectionsInTheStoredOrder()
    {
        const auto order = [] {
            QStringList sections;
            for (const QJsonValue& value : described().value(QStringLiteral("items")).toArray())
                sections.append(value[QStringLiteral("section")].toString());
            return sections.join(QLatin1Char(','));
        };
        QCOMPARE(order(), QStringLiteral("storage,sensors,memory,cpu"));
        set(Keys::menuBarOrder, QStringLiteral("memory,bogus,memory"));
        QCOMPARE(order(), QStringLiteral("memory,sensors,storage,cpu"));
    }

    void describesWhatTheItemsMeasure()
    {
        for (const MeterLabelStyle style : { MeterLabelStyle::icons, MeterLabelStyle::letters }) {
            set(Keys::meterLabelStyle, style);
            const QJsonObject strip = described();
            const SampleReadings readings;
            double x = 0;
            for (const MonitorSection section : MeterSettings::storedOrder()) {
                const QJsonObject description = item(strip, section);
                QCOMPARE(description.keys().size(), 6);
                QCOMPARE(description.value(QStringLiteral("shown")), QJsonValue(true));
                QCOMPARE(number(description, "x"), x);
                QCOMPARE(number(description, "width"), StatusMetricView::itemWidth(section));
                QCOMPARE(number(description, "labelWidth"), StatusMetricView::labelWidth(section));
                QCOMPARE(description.value(QStringLiteral("readout")).toString(),
                    StatusMetricView::readoutText(section, readings).value_or(QString()));
                x += StatusMetricView::itemWidth(section) + 8;
            }
            QCOMPARE(number(strip, "width"), x - 8);
            QCOMPARE(number(strip, "height"), 22.0);
            QCOMPARE(strip.keys().size(), 3);
        }
        // The strip uses the sample readings, a fresh suite and no region.
        const QJsonObject strip = described();
        QString readouts;
        for (const auto& section : allCases<MonitorSection>())
            readouts += item(strip, section.value).value(QStringLiteral("readout")).toString() + u' ';
        QCOMPARE(readouts, QStringLiteral("48° 64% 58% 24W "));
    }

    void aHiddenItemKeepsItsSlotWithoutAPlace()
    {
        set(Keys::showSensorsItem, false);
        const QJsonObject strip = described();
        const QJsonArray items = strip.value(QStringLiteral("items")).toArray();
        QCOMPARE(items.size(), 4);
        const QJsonObject hidden = items[1].toObject();
        QCOMPARE(hidden.value(QStringLiteral("section")).toString(), QStringLiteral("sensors"));
        QCOMPARE(hidden.value(QStringLiteral("shown")), QJsonValue(false));
        QVERIFY(hidden.value(QStringLiteral("x")).isNull());
        QCOMPARE(number(hidden, "width"), StatusMetricView::itemWidth(MonitorSection::sensors));
        QCOMPARE(number(items[2].toObject(), "x"), number(items[0].toObject(), "width") + 8);
    }

    void aReadoutThatIsOffIsNull()
    {
        set(Keys::cpuReadout, CPUReadout::off);
        const QJsonObject cpu = item(described(), MonitorSection::cpu);
        QVERIFY(cpu.contains(QStringLiteral("readout")));
        QVERIFY(cpu.value(QStringLiteral("readout")).isNull());
    }

    void describeIsReadableAndStable()
    {
        const QByteArray output = ctl("describe --cores 4").output;
        QCOMPARE(output, ctl("describe --cores 4").output);
        const QByteArrayList lines = output.split('\n');
        QCOMPARE(lines.size(), 11);
        QVERIFY(lines[1].startsWith("  \"width\": "));
        QCOMPARE(lines[2], QByteArray("  \"height\": 22,"));
        QVERIFY(lines[4].contains("\"section\": \"storage\", \"shown\": true, \"x\": 0, \"width\": "));
    }

    void describesAnotherMachinesCores()
    {
        const auto meterWidth = [](int cores) { return (cores - 1) + (cores * 4.9 + 4); };
        const auto cpuWidth = [](const char* options) {
            return number(item(described(options), MonitorSection::cpu), "width");
        };
        const double rest = cpuWidth("--cores 1") - meterWidth(1);
        QCOMPARE(cpuWidth("--cores 8"), rest + meterWidth(8));
        QCOMPARE(cpuWidth("--cores 12,4"), rest + meterWidth(16));
        QCOMPARE(cpuWidth("--cores 2,4,2"), rest + meterWidth(8));
        QCOMPARE(cpuWidth("--cores 1024"), rest + meterWidth(1024));
        set(Keys::meterStyle, MeterStyle::compact);
        QCOMPARE(cpuWidth("--cores 64"), rest + 46);
    }

    void theSessionsRuntimeDirectoryIsNoneOfItsBusiness_data()
    {
        QTest::addColumn<QByteArray>("directory");
        QTest::newRow("not named") << QByteArray();
        QTest::newRow("not there") << QByteArray("nowhere/of/this/name");
        QTest::newRow("not to be made") << QByteArray("made");
        QTest::newRow("open to others") << QByteArray("open");
    }

    void theSessionsRuntimeDirectoryIsNoneOfItsBusiness()
    {
        QFETCH(const QByteArray, directory);
        // Stands for the temporary folder, where programs put files that have no other place.
        const FileTree shared;
        QCOMPARE(::mkdir(QFile::encodeName(shared.path(QStringLiteral("open"))).constData(), 0755), 0);
        const QString named = directory.isEmpty() ? QString() : shared.path(QString::fromLatin1(directory));
        const auto described = ctl(
            "describe", { { "XDG_RUNTIME_DIR", named.toUtf8() }, { "TMPDIR", shared.root().toUtf8() } });
        QCOMPARE(described.errors, QByteArray());
        QCOMPARE(described.code, 0);
        QCOMPARE(QDir(shared.root()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot),
            QStringList(QStringLiteral("open")));
    }
};

KESTRUM_TEST_MAIN(QGuiApplication, KestrumctlDescribeTest)
#include "KestrumctlDescribeTest.moc"
