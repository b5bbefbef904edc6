#include "KestrumShared/Settings/Setting.h"
#include "tests/Support/Rows.h"
#include "tests/Support/TestHome.h"

#include <QCoreApplication>
#include <QJsonDocument>
#include <QProcess>
#include <QtTest>

using namespace kestrum;

// Names and defaults are a contract with the agent, so the tests repeat their literal values.

// Runs a new process, because the names are fixed at the first use. Returns the lines that the process prints. `complaints`
// receives the process's standard error.
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

    struct Suite {
        const char* name;
        bool isSet;
        const char* variable;
        const char* suite;
    };
    struct Refused {
        const char* name;
        QString suite;
        const char* domain;
    };

private Q_SLOTS:
    void factoryDefaultsAreTheseTwentyThree()
    {
        const QJsonObject expected = QJsonDocument::fromJson(R"({
            "agentEnabled": true,
            "settingsPane": "menuBar",
            "refreshInterval": 1.0,
            "showCPUItem": true,
            "showMemoryItem": true,
            "showStorageItem": true,
            "showSensorsItem": true,
            "cpuReadout": "temperature",
            "sensorsReadout": "power",
            "showMemoryPercent": true,
            "meterStyle": "bars",
            "meterShape": "pill",
            "menuBarOrder": "storage,sensors,memory,cpu",
            "language": "system",
            "temperatureUnit": "system",
            "meterLabelStyle": "icons",
            "accentChoice": "signal",
            "performanceCoreAccent": "indigo",
            "popoverAppearance": "system",
            "popoverBackground": "translucent",
            "updatesCheckAutomatically": true,
            "updaterCanCheck": false,
            "didUnregisterLegacyLoginItem": false
        })")
                                         .object();
        QCOMPARE(expected.size(), 23);
        for (auto entry = expected.begin(); entry != expected.end(); ++entry)
            QVERIFY2(SharedSettings::factoryDefaults()[entry.key()] == *entry, qPrintable(entry.key()));
        QCOMPARE(SharedSettings::factoryDefaults().keys(), expected.keys());
    }

    void unregisteredKeysAreCatalogued()
    {
        QStringList names;
        std::apply([&](const auto&... key) { (names.append(QString::fromLatin1(key.name)), ...); },
            Keys::unregistered);
        QCOMPARE(names,
            QStringLiteral(
                "memoryReadout storageReadout cpuAccent cpuFastCoreAccent memoryAccent storageAccent "
                "updatesAvailable systemMonitor panelBridge panelOffers stripScreens")
                .split(u' '));
        for (const QString& name : names)
            QVERIFY(!SharedSettings::factoryDefaults().contains(name));
    }

    void suiteAndSignalNamesFollowTheEnvironment_data()
    {
        addRows<Suite>({ { "no variable", false, "", "T4K9ZR2MXB.com.orvale.kestrum" },
            { "a name", true, "test.suite", "test.suite" }, { "not trimmed", true, " a b ", " a b " },
            { "empty is taken too", true, "", "" } });
    }
    void suiteAndSignalNamesFollowTheEnvironment()
    {
        QFETCH(Suite, row);
        const QStringList names = namesInAProcess(QString::fromLatin1(row.variable), row.isSet);
        const QString suite = QString::fromLatin1(row.suite);
        QCOMPARE(names.value(0), suite);
        QCOMPARE(names.value(1), suite + QStringLiteral(".settings"));
        QCOMPARE(names.value(2), suite + QStringLiteral(".menuBarChanged"));
    }

    void refusedSuiteUsesTheProcessDomain_data()
    {
        addRows<Refused>({ { "empty", {}, "com.orvale.kestrum" },
            { "too long for a file", QString(400, u'x'), "com.orvale.kestrum" },
            { "a path", QStringLiteral("../a/b"), "../a/b" } });
    }
    void refusedSuiteUsesTheProcessDomain()
    {
        QFETCH(Refused, row);
        QByteArray complaints;
        QCOMPARE(namesInAProcess(row.suite, true, &complaints).value(3), QLatin1StringView(row.domain));
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
        for (const auto& entry : allCases<SharedSettings::Signal>()) {
            names.append(QString::fromLatin1(entry.rawValue));
            QCOMPARE(SharedSettings::name(entry.value), SharedSettings::suiteName() + u'.' + names.last());
        }
        QCOMPARE(names,
            QStringLiteral("settings quitAgent openSettings checkForUpdates updateAvailable menuBarChanged")
                .split(u' '));
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

    void observersHearNothingOfAChangeThatNamesNoKey()
    {
        QObject owner;
        int heard = 0;
        SharedSettings::store().observe({ QStringLiteral("agentEnabled") }, &owner, [&heard] { ++heard; });
        Q_EMIT SharedSettings::store().changed({});
        QCOMPARE(heard, 0);
        Q_EMIT SharedSettings::store().changed(
            { QStringLiteral("language"), QStringLiteral("agentEnabled") });
        QCOMPARE(heard, 1);
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
