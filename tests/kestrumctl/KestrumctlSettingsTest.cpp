#include "KestrumShared/Settings/SharedSettings.h"
#include "tests/Support/Kestrumctl.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <unistd.h>

using namespace kestrum;

namespace {

QJsonObject object(const QByteArray& json)
{
    return QJsonDocument::fromJson(json).object();
}

} // namespace

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
        QCOMPARE(ctl("read meterStyle"), done("\"bars\"\n"));
        QCOMPARE(ctl("read showCPUItem").output, QByteArray("true\n"));
        QCOMPARE(ctl("read refreshInterval").output, QByteArray("1\n"));
        write(suitePath(), "{\"meterStyle\": \"wave\", \"refreshInterval\": 2.5}");
        QCOMPARE(ctl("read meterStyle").output, QByteArray("\"wave\"\n"));
        QCOMPARE(ctl("read refreshInterval").output, QByteArray("2.5\n"));
        // Reading a value writes nothing to the file.
        QCOMPARE(contentOf(suitePath()), QByteArray("{\"meterStyle\": \"wave\", \"refreshInterval\": 2.5}"));
    }

    void storedReadGivesOnlyWhatIsStored()
    {
        QVERIFY_FAILED(ctl("read meterStyle --stored"), 1, "meterStyle is not stored");
        QCOMPARE(ctl("read --stored").output.simplified().replace(" ", ""), QByteArray("{}"));

        write(suitePath(), "{\"meterStyle\": \"wave\"}");
        QCOMPARE(ctl("read --stored meterStyle").output, QByteArray("\"wave\"\n"));
        const auto all = ctl("read --stored");
        QCOMPARE(all.code, 0);
        QCOMPARE(object(all.output), object("{\"meterStyle\": \"wave\"}"));
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
        QCOMPARE(object(all.output), expected);
    }

    void aKeyWithoutAValueIsAbsent()
    {
        for (const char* key : { "memoryReadout", "storageReadout", "cpuAccent", "cpuFastCoreAccent",
                 "memoryAccent", "storageAccent", "updatesAvailable" })
            QVERIFY_FAILED(ctl("read", words(key)), 1, QByteArray(key) + " is absent");
    }

    void aStoredKeyOutsideOfTheCatalogueReadsNormally()
    {
        write(suitePath(), "{\"meterstyle\": {\"a\": [1, 2]}}");
        QCOMPARE(ctl("read meterstyle").output, QByteArray("{\"a\":[1,2]}\n"));
        QCOMPARE(ctl("read --stored meterstyle").code, 0);
        // An unknown key in the file is also a suggestion for a misspelt key.
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
        if (needsForce) {
            QCOMPARE(ctl("write", { key, json }).code, 2);
            QVERIFY(!QFile::exists(suitePath()));
        }
        QCOMPARE(ctl(needsForce ? "write --force" : "write", { key, json }), done());
        QCOMPARE(ctl("read --stored", { key }), done(json.toUtf8() + '\n'));
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
        QVERIFY_FAILED(ctl("write", { key, json }), 2, reason);
        QVERIFY(!QFile::exists(suitePath()));

        QCOMPARE(ctl("write --force", { key, json }).code, 0);
        QCOMPARE(ctl("read", { key }).output, json.toUtf8() + '\n');
    }

    void aTextThatIsNoChoiceIsStored()
    {
        QCOMPARE(ctl("write meterStyle \"swirl\"").code, 0);
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
        QVERIFY_FAILED(ctl("write meterStyle", { json }), 2, "is no JSON value");
        // Even with --force, the argument must be a JSON value.
        QCOMPARE(ctl("write --force meterStyle", { json }).code, 2);
        QVERIFY(!QFile::exists(suitePath()));
    }

    void aValueThatCouldNotBeReadBackIsRefused()
    {
        const QString deep = QString(40, QLatin1Char('[')) + QString(40, QLatin1Char(']'));
        QVERIFY_FAILED(ctl("write --force nest", { deep }), 2, "cannot be a setting");
        QVERIFY(!QFile::exists(suitePath()));
    }

    void aValueEqualToTheDefaultIsStored()
    {
        QCOMPARE(ctl("write meterStyle \"bars\"").code, 0);
        QCOMPARE(ctl("read meterStyle --stored").output, QByteArray("\"bars\"\n"));
    }

    void deleteBringsTheDefaultBack()
    {
        write(
            suitePath(), "{\"meterStyle\": \"wave\", \"of another version\": 1, \"meterShape\": \"square\"}");
        QCOMPARE(ctl("delete meterStyle").code, 0);
        QCOMPARE(ctl("read meterStyle").output, QByteArray("\"bars\"\n"));
        QCOMPARE(ctl("delete", { QStringLiteral("of another version") }).code, 0);
        QCOMPARE(object(contentOf(suitePath())), object("{\"meterShape\": \"square\"}"));
    }

    void deletingWhatIsNotStoredIsNoFailure()
    {
        QCOMPARE(ctl("delete meterStyle"), done());
        QCOMPARE(ctl("delete cpuAccent").code, 0);
        QVERIFY(!QFile::exists(suitePath()));
    }

    void theSuiteIsTheOneThatTheEnvironmentNames()
    {
        const Programs::Variables other { { "KESTRUM_SETTINGS_SUITE", "test.suite" } };
        QCOMPARE(ctl("write meterStyle \"wave\"", other).code, 0);
        QVERIFY(QFile::exists(TestHome::configDirectory() + QStringLiteral("/test.suite.json")));
        QVERIFY(!QFile::exists(suitePath()));
        QCOMPARE(ctl("read meterStyle", other).output, QByteArray("\"wave\"\n"));
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
        const Programs::Variables refused { { "KESTRUM_SETTINGS_SUITE", suite.toUtf8() } };
        for (const char* call :
            { "read", "write meterStyle \"wave\"", "delete meterStyle", "watch", "export -", "import -",
                "post settings", "listen settings --timeout 5", "agent start", "describe" }) {
            const auto result = ctl(call, refused);
            QVERIFY_FAILED(result, 1, reason);
            QVERIFY2(result.errors.startsWith("kestrumctl: KESTRUM_SETTINGS_SUITE: \"")
                    && result.errors.count('\n') == 1,
                result.errors.constData());
        }
        // A command that needs no settings still works.
        QCOMPARE(ctl("agents", refused).errors, QByteArray());
        QVERIFY(!QFile::exists(TestHome::configDirectory() + QStringLiteral("/com.orvale.kestrum.json")));
    }

    void theAdministratorsValueIsInEffectButNotStored()
    {
        write(TestHome::root() + QStringLiteral("/xdg/kestrum/T4K9ZR2MXB.com.orvale.kestrum.json"),
            "{\"meterStyle\": \"compact\", \"ofTheAdministrator\": 1}");
        QCOMPARE(ctl("read meterStyle").output, QByteArray("\"compact\"\n"));
        QCOMPARE(ctl("read ofTheAdministrator").output, QByteArray("1\n"));
        QCOMPARE(ctl("read meterStyle --stored").code, 1);
    }

    void anUnwritableHomeFailsWithTheReason()
    {
        // A file in place of the directory makes writing fail for every user, even for root.
        const QString file = TestHome::root() + QStringLiteral("/no directory");
        write(file, {});
        const Programs::Variables home { { "XDG_CONFIG_HOME", file.toUtf8() } };
        QVERIFY_FAILED(ctl("write meterStyle \"wave\"", home), 1, "Not a directory");
        // The defaults are still in effect.
        QCOMPARE(ctl("read meterStyle", home).output, QByteArray("\"bars\"\n"));
    }

    void rootMakesNoFolderInTheHomeOfAnother()
    {
        if (::geteuid() != 0)
            QSKIP("this is about root");
        const QString home = TestHome::root() + QStringLiteral("/theirs");
        QVERIFY(QDir().mkpath(home));
        QCOMPARE(::chown(QFile::encodeName(home).constData(), 12345, 12345), 0);
        const Programs::Variables theirs { { "HOME", home.toUtf8() }, { "XDG_CONFIG_HOME", {} } };
        QVERIFY_FAILED(
            ctl("write meterStyle \"wave\"", theirs), 1, home.toUtf8() + " belongs to another user");
        QVERIFY(QDir(home).isEmpty(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot));
    }

    void aFileThatCannotBeReadDoesNotPassForAnEmptyOne()
    {
        QVERIFY(QDir().mkpath(suitePath())); // a directory in place of the file
        for (const char* call : { "read --stored", "read meterStyle --stored", "export -" })
            QVERIFY_FAILED(ctl(call), 1, "T4K9ZR2MXB.com.orvale.kestrum.json");
        QCOMPARE(ctl("read meterStyle").output, QByteArray("\"bars\"\n"));
        QCOMPARE(ctl("write showMemoryItem false").code, 1);
        QVERIFY(QFileInfo(suitePath()).isDir());
    }

    void theLastWriteIsSeenByTheNextReader()
    {
        UserDefaults& store = SharedSettings::store();
        for (const char* style : { "wave", "bars", "wave" }) {
            QCOMPARE(ctl("write meterStyle", { u'"' + QLatin1StringView(style) + u'"' }).code, 0);
            QCOMPARE(store.string("meterStyle").value_or(QString()), QLatin1StringView(style));
        }
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, KestrumctlSettingsTest)
#include "KestrumctlSettingsTest.moc"
