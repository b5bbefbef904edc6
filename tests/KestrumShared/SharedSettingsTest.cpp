#include "KestrumShared/Settings/Setting.h"
#include "tests/Support/TestHome.h"

#include <QCoreApplication>
#include <QJsonDocument>
#include <QProcess>
#include <QtTest>

using namespace kestrum;

// Names and defaults are a contract with the agent, so the tests repeat them as literals.

// Runs a new process, because the names are fixed at the first use. Returns the lines that it prints; `complaints` receives
// its standard error.
static QStringList namesInAProcess(const QString& suite, bool isSet, QByteArray* complaints = nullptr)
{
    QProcess child;
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    environment.remove(QStringLiteral("KESTRUM_SETTINGS_SUITE"));
    if (isSet)
        environment.insert(QStringLiteral("KESTRUM_SETTINGS_SUITE"), suite);
    child.setProcessEnvironment(environment);
    child.start(QCoreApplication::applicationFilePath(), TestRunner::again({ QStringLiteral("--names") }));
    if (!child.waitForFinished(10000))
        child.kill();
    if (complaints)
        *complaints = child.readAllStandardError();
    return QString::fromUtf8(child.readAllStandardOutput()).split(u'\n');
}

static void sayNames()
{
    QTextStream(stdout) << SharedSettings::suiteName() << '\n'
                        << SharedSettings::name(SharedSettings::Signal::settings) << '\n'
                        << SharedSettings::name(SharedSettings::Signal::menuBarChanged) << '\n'
                        << SharedSettings::store().name() << '\n';
}

class SharedSettingsTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void factoryDefaultsAreTheseTwentyThree_data()
    {
        QTest::addColumn<QJsonValue>("value");
        const auto text = [](const char* value) { return QJsonValue(QString::fromLatin1(value)); };
        QTest::newRow("agentEnabled") << QJsonValue(true);
        QTest::newRow("settingsPane") << text("menuBar");
        QTest::newRow("refreshInterval") << QJsonValue(1.0);
        QTest::newRow("showCPUItem") << QJsonValue(true);
        QTest::newRow("showMemoryItem") << QJsonValue(true);
        QTest::newRow("showStorageItem") << QJsonValue(true);
        QTest::newRow("showSensorsItem") << QJsonValue(true);
        QTest::newRow("cpuReadout") << text("temperature");
        QTest::newRow("sensorsReadout") << text("power");
        QTest::newRow("showMemoryPercent") << QJsonValue(true);
        QTest::newRow("meterStyle") << text("bars");
        QTest::newRow("meterShape") << text("pill");
        QTest::newRow("menuBarOrder") << text("storage,sensors,memory,cpu");
        QTest::newRow("language") << text("system");
        QTest::newRow("temperatureUnit") << text("system");
        QTest::newRow("meterLabelStyle") << text("icons");
        QTest::newRow("accentChoice") << text("signal");
        QTest::newRow("performanceCoreAccent") << text("indigo");
        QTest::newRow("popoverAppearance") << text("system");
        QTest::newRow("popoverBackground") << text("translucent");
        QTest::newRow("updatesCheckAutomatically") << QJsonValue(true);
        QTest::newRow("updaterCanCheck") << QJsonValue(false);
        QTest::newRow("didUnregisterLegacyLoginItem") << QJsonValue(false);
    }

    void factoryDefaultsAreTheseTwentyThree()
    {
        QFETCH(QJsonValue, value);
        const QString key = QString::fromLatin1(QTest::currentDataTag());
        QVERIFY(SharedSettings::factoryDefaults().contains(key));
        QCOMPARE(SharedSettings::factoryDefaults().value(key), value);
    }

    void noOtherKeyIsRegistered() { QCOMPARE(SharedSettings::factoryDefaults().size(), 23); }

    void unregisteredKeysAreCatalogued()
    {
        QStringList names;
        std::apply([&](const auto&... key) { (names.append(QString::fromLatin1(key.name)), ...); },
            Keys::unregistered);
        QCOMPARE(names,
            QStringLiteral(
                "memoryReadout storageReadout cpuAccent cpuFastCoreAccent memoryAccent storageAccent "
                "updatesAvailable")
                .split(u' '));
        for (const QString& name : names)
            QVERIFY(!SharedSettings::factoryDefaults().contains(name));
    }

    void suiteAndSignalNamesFollowTheEnvironment_data()
    {
        QTest::addColumn<bool>("isSet");
        QTest::addColumn<QString>("suite");
        QTest::addColumn<QString>("expected");
        QTest::newRow("no variable") << false << ""
                                     << "T4K9ZR2MXB.com.orvale.kestrum";
        QTest::newRow("a name") << true << "test.suite"
                                << "test.suite";
        QTest::newRow("not trimmed") << true << " a b "
                                     << " a b ";
        QTest::newRow("empty is taken too") << true << ""
                                            << "";
    }

    void suiteAndSignalNamesFollowTheEnvironment()
    {
        QFETCH(bool, isSet);
        QFETCH(QString, suite);
        QFETCH(QString, expected);
        const QStringList names = namesInAProcess(suite, isSet);
        QCOMPARE(names.value(0), expected);
        QCOMPARE(names.value(1), expected + QStringLiteral(".settings"));
        QCOMPARE(names.value(2), expected + QStringLiteral(".menuBarChanged"));
    }

    void refusedSuiteUsesTheProcessDomain_data()
    {
        QTest::addColumn<QString>("suite");
        QTest::addColumn<QString>("domain");
        QTest::newRow("empty") << ""
                               << "com.orvale.kestrum";
        QTest::newRow("too long for a file") << QString(400, u'x') << "com.orvale.kestrum";
        QTest::newRow("a path") << "../a/b"
                                << "../a/b";
    }

    void refusedSuiteUsesTheProcessDomain()
    {
        QFETCH(QString, suite);
        QFETCH(QString, domain);
        QByteArray complaints;
        QCOMPARE(namesInAProcess(suite, true, &complaints).value(3), domain);
        QCOMPARE(complaints, QByteArray());
    }

    void namesAndStoreAreFixedAtTheFirstUse()
    {
        // After the first four lines, the process changes its own environment and prints the same names again.
        const QStringList names = namesInAProcess(QStringLiteral("test.suite"), true);
        QCOMPARE(names.value(0), QStringLiteral("test.suite"));
        QCOMPARE(names.size(), 9); // with an empty text after the last line's end
        QCOMPARE(names.mid(4, 4), names.mid(0, 4));
    }

    void signalsStandInTheirOrder()
    {
        QStringList names;
        for (const auto& entry : allCases<SharedSettings::Signal>())
            names.append(QString::fromLatin1(entry.rawValue));
        QCOMPARE(names,
            QStringLiteral("settings quitAgent openSettings checkForUpdates updateAvailable menuBarChanged")
                .split(u' '));
        for (const auto& entry : allCases<SharedSettings::Signal>())
            QCOMPARE(SharedSettings::name(entry.value),
                SharedSettings::suiteName() + u'.' + QString::fromLatin1(entry.rawValue));
    }

    void settingReadsItsDefaultForWhatIsNotUnderstood()
    {
        UserDefaults& store = SharedSettings::store();
        const Setting setting(Keys::meterStyle);
        QCOMPARE(setting.value(), MeterStyle::bars);
        QVERIFY(store.set("meterStyle", QStringLiteral("Wave")));
        QCOMPARE(setting.value(), MeterStyle::bars);
        QVERIFY(store.set("meterStyle", 3));
        QCOMPARE(setting.value(), MeterStyle::bars);
        QCOMPARE(store.object("meterStyle"), QJsonValue(3));
        QVERIFY(setting.set(MeterStyle::wave));
        QCOMPARE(setting.value(), MeterStyle::wave);
        QCOMPARE(store.object("meterStyle"), QJsonValue(QStringLiteral("wave")));
    }

    void settingTellsAChangeOfItsOwnKeyOnly()
    {
        QObject owner;
        QList<double> seen;
        const Setting setting(Keys::refreshInterval);
        setting.observe(&owner, [&](double value) { seen.append(value); });
        QVERIFY(setting.set(2.5));
        QTRY_COMPARE(seen, QList<double> { 2.5 });
        QVERIFY(Setting(Keys::showCPUItem).set(false));
        QVERIFY(setting.set(2.5));
        QVERIFY(setting.set(4));
        QTRY_COMPARE(seen, (QList<double> { 2.5, 4 }));
    }

    void settingStopsWithItsOwner()
    {
        QList<bool> seen;
        {
            QObject owner;
            Setting(Keys::agentEnabled).observe(&owner, [&](bool value) { seen.append(value); });
        }
        QSignalSpy changed(&SharedSettings::store(), &UserDefaults::changed);
        QVERIFY(Setting(Keys::agentEnabled).set(false));
        QVERIFY(changed.wait(5000));
        QVERIFY(seen.isEmpty());
    }
};

KESTRUM_TEST_MAIN_OF(SharedSettingsTest)(int argc, char** argv)
{
    if (argc == 2 && qstrcmp(argv[1], "--names") == 0) {
        sayNames();
        qputenv("KESTRUM_SETTINGS_SUITE", "another.suite");
        sayNames();
        return 0;
    }
    TestHome home;
    QCoreApplication application(argc, argv);
    SharedSettingsTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "SharedSettingsTest.moc"
