#include "KestrumShared/Settings/SharedSettings.h"
#include "Platform/Store/UserDefaults.h"
#include "tests/Support/FileContent.h"
#include "tests/Support/Kestrumctl.h"
#include "tests/Support/TestHome.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QTest>
#include <unistd.h>

using namespace kestrum;

class KestrumctlSettingsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        QDir(TestHome::configDirectory()).removeRecursively();
        QDir(TestHome::root() + QStringLiteral("/xdg")).removeRecursively();
    }

    void readGivesTheValueInEffect()
    {
        const auto style = ctl("read meterStyle");
        QCOMPARE(style.code, 0);
        QCOMPARE(style.output, QByteArray("\"bars\"\n"));
        QCOMPARE(style.errors, QByteArray());
        QCOMPARE(ctl("read showCPUItem").output, QByteArray("true\n"));
        QCOMPARE(ctl("read refreshInterval").output, QByteArray("1\n"));
        write(suitePath(), "{\"meterStyle\": \"wave\", \"refreshInterval\": 2.5}");
        QCOMPARE(ctl("read meterStyle").output, QByteArray("\"wave\"\n"));
        QCOMPARE(ctl("read refreshInterval").output, QByteArray("2.5\n"));
        // Reading a value stores nothing.
        QCOMPARE(contentOf(suitePath()), QByteArray("{\"meterStyle\": \"wave\", \"refreshInterval\": 2.5}"));
    }

    void storedReadGivesOnlyWhatIsStored()
    {
        const auto absent = ctl("read meterStyle --stored");
        QCOMPARE(absent.code, 1);
        QCOMPARE(absent.output, QByteArray());
        QVERIFY(absent.errors.contains("meterStyle is not stored"));
        QCOMPARE(ctl("read --stored").output.simplified().replace(" ", ""), QByteArray("{}"));

        write(suitePath(), "{\"meterStyle\": \"wave\"}");
        QCOMPARE(ctl("read --stored meterStyle").output, QByteArray("\"wave\"\n"));
        const auto all = ctl("read --stored");
        QCOMPARE(all.code, 0);
        QCOMPARE(QJsonDocument::fromJson(all.output).object(),
            (QJsonObject { { QStringLiteral("meterStyle"), QStringLiteral("wave") } }));
    }

    void readWithoutAKeyGivesOneObject()
    {
        write(suitePath(), "{\"meterStyle\": \"wave\", \"of another version\": [1, null]}");
        QJsonObject expected = SharedSettings::factoryDefaults();
        QCOMPARE(expected.size(), 23);
        expected.insert(QStringLiteral("meterStyle"), QStringLiteral("wave"));
        expected.insert(QStringLiteral("of another version"), QJsonArray { 1, QJsonValue::Null });
        const auto all = ctl("read");
        QCOMPARE(all.code, 0);
        QCOMPARE(QJsonDocument::fromJson(all.output).object(), expected);
    }

    void aKeyWithoutAValueIsAbsent()
    {
        for (const char* key : { "memoryReadout", "storageReadout", "cpuAccent", "cpuFastCoreAccent",
                 "memoryAccent", "storageAccent", "updatesAvailable" }) {
            const auto result = ctl({ QStringLiteral("read"), QString::fromUtf8(key) });
            QCOMPARE(result.code, 1);
            QCOMPARE(result.output, QByteArray());
            QVERIFY2(result.errors.contains(QByteArray(key) + " is absent"), result.errors.constData());
        }
    }

    void aStoredKeyOutsideOfTheCatalogueReadsNormally()
    {
        write(suitePath(), "{\"meterstyle\": {\"a\": [1, 2]}}");
        QCOMPARE(ctl("read meterstyle").output, QByteArray("{\"a\":[1,2]}\n"));
        QCOMPARE(ctl("read --stored meterstyle").code, 0);
        // An unknown key that is stored is also suggested for a misspelt one.
        QVERIFY(ctl("read meterstyl").errors.contains("\"meterstyle\""));
    }

    void everyKindOfValueIsWrittenAndReadBack_data()
    {
        QTest::addColumn<QString>("key");
        QTest::addColumn<QString>("json");
        QTest::addColumn<bool>("needsForce");
        const auto row = [](const char* key, const char* json, bool needsForce) {
            QTest::newRow(json) << QString::fromUtf8(key) << QString::fromUtf8(json) << needsForce;
        };
        row("showMemoryItem", "false", false);
        row("refreshInterval", "0.5", false);
        row("refreshInterval", "-3", false);
        row("meterStyle", "\"compact\"", false);
        row("cpuAccent", "\"custom:srgb:0.1000,0.2000,0.3000\"", false);
        row("updatesAvailable", "\"2.0 \\\"Ünïcode\\\" \\u0001\"", false);
        row("language", "\"\"", false);
        row("somethingElse", "[1,\"two\",{\"three\":null}]", true);
        row("somethingElse", "{}", true);
        row("a key with spaces\t✓", "true", true);
        row("meterStyle", "7", true);
    }

    void everyKindOfValueIsWrittenAndReadBack()
    {
        QFETCH(const QString, key);
        QFETCH(const QString, json);
        QFETCH(const bool, needsForce);
        QStringList call { QStringLiteral("write"), key, json };
        if (needsForce) {
            QCOMPARE(ctl(call).code, 2);
            QVERIFY(!QFile::exists(suitePath()));
            call.append(QStringLiteral("--force"));
        }
        const auto written = ctl(call);
        QCOMPARE(written.code, 0);
        QCOMPARE(written.output, QByteArray());
        QCOMPARE(written.errors, QByteArray());
        const auto read = ctl({ QStringLiteral("read"), key, QStringLiteral("--stored") });
        QCOMPARE(read.code, 0);
        QCOMPARE(read.output, json.toUtf8() + '\n');
    }

    void aValueOfTheWrongTypeIsRefused_data()
    {
        QTest::addColumn<QString>("key");
        QTest::addColumn<QString>("json");
        QTest::addColumn<QByteArray>("reason");
        const auto row = [](const char* key, const char* json, const char* reason) {
            QTest::newRow(reason) << QString::fromUtf8(key) << QString::fromUtf8(json) << QByteArray(reason);
        };
        row("showMemoryItem", "1", "key \"showMemoryItem\" takes true or false, not 1");
        row("agentEnabled", "\"true\"", "takes true or false, not \"true\"");
        row("refreshInterval", "\"1\"", "key \"refreshInterval\" takes a number, not \"1\"");
        row("refreshInterval", "true", "takes a number, not true");
        row("meterStyle", "1", "key \"meterStyle\" takes a text, not 1");
        row("cpuAccent", "[0.1,0.2,0.3]", "takes a text, not [0.1,0.2,0.3]");
        row("memoryReadout", "null", "takes a text, not null");
        row("updatesAvailable", "{\"version\":\"2\"}", "takes a text, not {\"version\":\"2\"}");
    }

    void aValueOfTheWrongTypeIsRefused()
    {
        QFETCH(const QString, key);
        QFETCH(const QString, json);
        QFETCH(const QByteArray, reason);
        const auto refused = ctl({ QStringLiteral("write"), key, json });
        QCOMPARE(refused.code, 2);
        QVERIFY2(refused.errors.contains(reason), refused.errors.constData());
        QVERIFY(!QFile::exists(suitePath()));

        QCOMPARE(ctl({ QStringLiteral("write"), QStringLiteral("--force"), key, json }).code, 0);
        QCOMPARE(ctl({ QStringLiteral("read"), key }).output, json.toUtf8() + '\n');
    }

    void aTextThatIsNoChoiceIsStored()
    {
        QCOMPARE(
            ctl({ QStringLiteral("write"), QStringLiteral("meterStyle"), QStringLiteral("\"swirl\"") }).code,
            0);
        QCOMPARE(ctl("read meterStyle").output, QByteArray("\"swirl\"\n"));
    }

    void aValueThatIsNoJsonIsRefused_data()
    {
        QTest::addColumn<QString>("json");
        for (const char* json : { "wave", "'wave'", "NaN", "Infinity", "-", "", " ", "1,2", "true false",
                 "[1", "1]", "\"a\"],[\"b\"", "{\"a\":}", "01", "1e999" })
            QTest::newRow(*json ? json : "nothing") << QString::fromUtf8(json);
    }

    void aValueThatIsNoJsonIsRefused()
    {
        QFETCH(const QString, json);
        const auto refused = ctl({ QStringLiteral("write"), QStringLiteral("meterStyle"), json });
        QCOMPARE(refused.code, 2);
        QVERIFY2(refused.errors.contains("is no JSON value"), refused.errors.constData());
        // With --force, too, the argument is no JSON value.
        QCOMPARE(
            ctl({ QStringLiteral("write"), QStringLiteral("meterStyle"), json, QStringLiteral("--force") })
                .code,
            2);
        QVERIFY(!QFile::exists(suitePath()));
    }

    void aValueThatCouldNotBeReadBackIsRefused()
    {
        const QString deep = QString(40, QLatin1Char('[')) + QString(40, QLatin1Char(']'));
        const auto refused
            = ctl({ QStringLiteral("write"), QStringLiteral("nest"), deep, QStringLiteral("--force") });
        QCOMPARE(refused.code, 2);
        QVERIFY2(refused.errors.contains("cannot be a setting"), refused.errors.constData());
        QVERIFY(!QFile::exists(suitePath()));
    }

    void aValueEqualToTheDefaultIsStored()
    {
        QCOMPARE(
            ctl({ QStringLiteral("write"), QStringLiteral("meterStyle"), QStringLiteral("\"bars\"") }).code,
            0);
        QCOMPARE(ctl("read meterStyle --stored").output, QByteArray("\"bars\"\n"));
    }

    void deleteBringsTheDefaultBack()
    {
        write(
            suitePath(), "{\"meterStyle\": \"wave\", \"of another version\": 1, \"meterShape\": \"square\"}");
        QCOMPARE(ctl("delete meterStyle").code, 0);
        QCOMPARE(ctl("read meterStyle").output, QByteArray("\"bars\"\n"));
        QCOMPARE(ctl({ QStringLiteral("delete"), QStringLiteral("of another version") }).code, 0);
        QCOMPARE(QJsonDocument::fromJson(contentOf(suitePath())).object(),
            (QJsonObject { { QStringLiteral("meterShape"), QStringLiteral("square") } }));
    }

    void deletingWhatIsNotStoredIsNoFailure()
    {
        const auto result = ctl("delete meterStyle");
        QCOMPARE(result.code, 0);
        QCOMPARE(result.errors, QByteArray());
        QCOMPARE(ctl("delete cpuAccent").code, 0);
        QVERIFY(!QFile::exists(suitePath()));
    }

    void theSuiteIsTheOneThatTheEnvironmentNames()
    {
        const Kestrumctl::Variables other { { QStringLiteral("KESTRUM_SETTINGS_SUITE"),
            QStringLiteral("test.suite") } };
        QCOMPARE(
            ctl({ QStringLiteral("write"), QStringLiteral("meterStyle"), QStringLiteral("\"wave\"") }, other)
                .code,
            0);
        QVERIFY(QFile::exists(TestHome::configDirectory() + QStringLiteral("/test.suite.json")));
        QVERIFY(!QFile::exists(suitePath()));
        QCOMPARE(ctl({ QStringLiteral("read"), QStringLiteral("meterStyle") }, other).output,
            QByteArray("\"wave\"\n"));
        QCOMPARE(ctl("read meterStyle").output, QByteArray("\"bars\"\n"));
    }

    void aSuiteThatCannotBeIsNamedWithTheReason_data()
    {
        QTest::addColumn<QString>("suite");
        QTest::addColumn<QByteArray>("reason");
        QTest::newRow("empty") << QString() << QByteArray("it is empty");
        const QByteArray tooLong("longer than a file's may be");
        QTest::newRow("too long") << QString(235, u'x') << tooLong;
        QTest::newRow("too long as a file's name") << QString(79, u'/') << tooLong;
    }

    void aSuiteThatCannotBeIsNamedWithTheReason()
    {
        QFETCH(const QString, suite);
        QFETCH(const QByteArray, reason);
        const Kestrumctl::Variables refused { { QStringLiteral("KESTRUM_SETTINGS_SUITE"), suite } };
        for (const char* call :
            { "read", "write meterStyle \"wave\"", "delete meterStyle", "watch", "export -", "import -",
                "post settings", "listen settings --timeout 5", "agent start", "describe" }) {
            const auto result = ctl(call, refused);
            QCOMPARE(result.code, 1);
            QCOMPARE(result.output, QByteArray());
            QVERIFY2(result.errors.startsWith("kestrumctl: KESTRUM_SETTINGS_SUITE: \"")
                    && result.errors.contains(reason) && result.errors.count('\n') == 1,
                result.errors.constData());
        }
        // A command that needs no settings still works.
        QCOMPARE(ctl({ QStringLiteral("agents") }, refused).errors, QByteArray());
        QVERIFY(!QFile::exists(TestHome::configDirectory() + QStringLiteral("/com.orvale.kestrum.json")));
    }

    void theAdministratorsValueIsInEffectButNotStored()
    {
        const QString directory = TestHome::root() + QStringLiteral("/xdg/kestrum");
        QVERIFY(QDir().mkpath(directory));
        QFile file(directory + QStringLiteral("/T4K9ZR2MXB.com.orvale.kestrum.json"));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write("{\"meterStyle\": \"compact\", \"ofTheAdministrator\": 1}");
        file.close();
        QCOMPARE(ctl("read meterStyle").output, QByteArray("\"compact\"\n"));
        QCOMPARE(ctl("read ofTheAdministrator").output, QByteArray("1\n"));
        QCOMPARE(ctl("read meterStyle --stored").code, 1);
    }

    void anUnwritableHomeFailsWithTheReason()
    {
        // A file in place of the directory makes writing fail for every user, also for root.
        const QString file = TestHome::root() + QStringLiteral("/no directory");
        QFile obstacle(file);
        QVERIFY(obstacle.open(QIODevice::WriteOnly));
        const Kestrumctl::Variables home { { QStringLiteral("XDG_CONFIG_HOME"), file } };

        const auto written = ctl(
            { QStringLiteral("write"), QStringLiteral("meterStyle"), QStringLiteral("\"wave\"") }, home);
        QCOMPARE(written.code, 1);
        QCOMPARE(written.output, QByteArray());
        QVERIFY2(written.errors.contains("Not a directory"), written.errors.constData());
        // The defaults are still in effect.
        QCOMPARE(ctl({ QStringLiteral("read"), QStringLiteral("meterStyle") }, home).output,
            QByteArray("\"bars\"\n"));
    }

    void rootMakesNoFolderInTheHomeOfAnother()
    {
        if (::geteuid() != 0)
            QSKIP("this is about root");
        const QString home = TestHome::root() + QStringLiteral("/theirs");
        QVERIFY(QDir().mkpath(home));
        QCOMPARE(::chown(QFile::encodeName(home).constData(), 12345, 12345), 0);
        const auto result = Kestrumctl::run(words("write meterStyle \"wave\""), {},
            { { QStringLiteral("HOME"), home }, { QStringLiteral("XDG_CONFIG_HOME"), QString() } });
        QCOMPARE(result.code, 1);
        QVERIFY2(
            result.errors.contains(home.toUtf8() + " belongs to another user"), result.errors.constData());
        QVERIFY(QDir(home).isEmpty(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot));
    }

    void aFileThatCannotBeReadDoesNotPassForAnEmptyOne()
    {
        QVERIFY(QDir().mkpath(suitePath())); // a directory in the file's place
        for (const char* call : { "read --stored", "read meterStyle --stored", "export -" }) {
            const auto result = ctl(call);
            QCOMPARE(result.code, 1);
            QCOMPARE(result.output, QByteArray());
            QVERIFY2(result.errors.contains("T4K9ZR2MXB.com.orvale.kestrum.json"), result.errors.constData());
        }
        QCOMPARE(ctl("read meterStyle").output, QByteArray("\"bars\"\n"));
        QCOMPARE(ctl("write showMemoryItem false").code, 1);
        QVERIFY(QFileInfo(suitePath()).isDir());
    }

    void theLastWriteIsSeenByTheNextReader()
    {
        UserDefaults& store = SharedSettings::store();
        for (const char* style : { "\"wave\"", "\"bars\"", "\"wave\"" }) {
            QCOMPARE(
                ctl({ QStringLiteral("write"), QStringLiteral("meterStyle"), QString::fromUtf8(style) }).code,
                0);
            QCOMPARE(
                QString(QLatin1Char('"') + store.string("meterStyle").value_or(QString()) + QLatin1Char('"')),
                QString::fromUtf8(style));
        }
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, KestrumctlSettingsTest)
#include "KestrumctlSettingsTest.moc"
