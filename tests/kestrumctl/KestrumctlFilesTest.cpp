#include "Platform/Store/UserDefaults.h"
#include "tests/Support/FileContent.h"
#include "tests/Support/Kestrumctl.h"
#include "tests/Support/TestHome.h"
#include "tests/Support/TracedSave.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTest>
#include <sys/stat.h>

using namespace kestrum;

namespace {

QString besides(const char* name)
{
    return TestHome::root() + QLatin1Char('/') + QString::fromUtf8(name);
}

QJsonObject objectIn(const QByteArray& json)
{
    return QJsonDocument::fromJson(json).object();
}

const QByteArray stored = "{\"meterStyle\": \"wave\", \"showMemoryItem\": false, \"refreshInterval\": 2,"
                          " \"of another version\": {\"deep\": [1, null, \"ü\"]}}";

} // namespace

class KestrumctlFilesTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { QDir(TestHome::configDirectory()).removeRecursively(); }

    void anExportHoldsWhatIsStoredAndNoDefaults()
    {
        QCOMPARE(ctl({ QStringLiteral("export"), besides("empty.json") }).code, 0);
        QCOMPARE(objectIn(contentOf(besides("empty.json"))), QJsonObject());
        QCOMPARE(contentOf(besides("empty.json")).trimmed().at(0), '{');

        write(suitePath(), stored);
        const auto result = ctl({ QStringLiteral("export"), besides("kept.json") });
        QCOMPARE(result.code, 0);
        QCOMPARE(result.output, QByteArray());
        QCOMPARE(objectIn(contentOf(besides("kept.json"))), objectIn(stored));
        // Each key has a line of its own, so that people can compare versions.
        QVERIFY(contentOf(besides("kept.json")).count('\n') >= 4);
    }

    void anExportStandsOnStandardOutputToo()
    {
        write(suitePath(), stored);
        const auto result = ctl({ QStringLiteral("export"), QStringLiteral("-") });
        QCOMPARE(result.code, 0);
        QCOMPARE(objectIn(result.output), objectIn(stored));
    }

    void anExportIsImportedWhole()
    {
        write(suitePath(), stored);
        QCOMPARE(ctl({ QStringLiteral("export"), besides("kept.json") }).code, 0);
        QVERIFY(QFile::remove(suitePath()));
        const auto result = ctl({ QStringLiteral("import"), besides("kept.json") });
        QCOMPARE(result.code, 0);
        QCOMPARE(result.errors, QByteArray());
        QCOMPARE(objectIn(contentOf(suitePath())), objectIn(stored));
    }

    void importFromStandardInput()
    {
        QCOMPARE(ctl({ QStringLiteral("import"), QStringLiteral("-") }, stored).code, 0);
        QCOMPARE(objectIn(contentOf(suitePath())), objectIn(stored));
    }

    void importMergesWithWhatIsStored()
    {
        write(suitePath(), "{\"meterShape\": \"square\", \"meterStyle\": \"compact\"}");
        QCOMPARE(ctl({ QStringLiteral("import"), QStringLiteral("-") }, stored).code, 0);
        QJsonObject expected = objectIn(stored);
        expected.insert(QStringLiteral("meterShape"), QStringLiteral("square"));
        QCOMPARE(objectIn(contentOf(suitePath())), expected);
    }

    void importIsOneSave()
    {
        write(suitePath(), "{}");
        Kestrumctl::Running watch({ QStringLiteral("watch") }, "watching");
        QVERIFY(watch.isReady());
        QCOMPARE(ctl({ QStringLiteral("import"), QStringLiteral("-") }, stored).code, 0);
        // All changed keys come in one notice, in alphabetical order.
        QCOMPARE(watch.lines(4),
            (QByteArrayList { "meterStyle\t\"wave\"", "of another version\t{\"deep\":[1,null,\"ü\"]}",
                "refreshInterval\t2", "showMemoryItem\tfalse" }));
    }

    void nothingIsStoredOfARefusedFile_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<QByteArray>("reason");
        QTest::newRow("empty") << QByteArray() << QByteArray("it is empty");
        QTest::newRow("blank") << QByteArray(" \n\n") << QByteArray("it is empty");
        QTest::newRow("list") << QByteArray("[\"meterStyle\"]") << QByteArray("nothing imported");
        QTest::newRow("scalar") << QByteArray("\"meterStyle\"") << QByteArray("nothing imported");
        QTest::newRow("cut off") << stored.left(stored.size() - 2) << QByteArray("nothing imported");
        QTest::newRow("NaN") << QByteArray("{\"meterShape\": \"square\", \"refreshInterval\": NaN}")
                             << QByteArray("nothing imported");
        QTest::newRow("NUL bytes") << QByteArray(64, '\0') << QByteArray("nothing imported");
        QTest::newRow("too deep") << "{\"a\":" + QByteArray(40, '[') + QByteArray(40, ']') + "}"
                                  << QByteArray("nothing imported");
        QTest::newRow("wrong type among good ones")
            << QByteArray("{\"meterShape\": \"square\", \"showCPUItem\": \"no\"}")
            << QByteArray("key \"showCPUItem\" takes true or false, not \"no\"");
        QTest::newRow("too large") << "{\"a\": \"" + QByteArray(1024 * 1024, 'a') + "\"}"
                                   << QByteArray("larger than 1048576 bytes");
    }

    void nothingIsStoredOfARefusedFile()
    {
        QFETCH(const QByteArray, content);
        QFETCH(const QByteArray, reason);
        write(suitePath(), "{\"meterStyle\": \"compact\"}");
        write(besides("refused.json"), content);
        const auto result = ctl({ QStringLiteral("import"), besides("refused.json") });
        QCOMPARE(result.code, 1);
        QCOMPARE(result.output, QByteArray());
        QVERIFY2(result.errors.contains(reason), result.errors.constData());
        QVERIFY2(result.errors.contains("refused.json"), result.errors.constData());
        QCOMPARE(contentOf(suitePath()), QByteArray("{\"meterStyle\": \"compact\"}"));
    }

    void everyWrongValueIsNamed()
    {
        const auto result = ctl({ QStringLiteral("import"), QStringLiteral("-") },
            "{\"showCPUItem\": 1, \"meterStyle\": true, \"refreshInterval\": \"1\", \"meterShape\": "
            "\"pill\"}");
        QCOMPARE(result.code, 1);
        for (const char* key : { "\"showCPUItem\"", "\"meterStyle\"", "\"refreshInterval\"" })
            QVERIFY2(result.errors.contains(key), result.errors.constData());
        QVERIFY(!result.errors.contains("meterShape"));
    }

    void forceImportsWrongTypesButNoDamage()
    {
        QCOMPARE(ctl({ QStringLiteral("import"), QStringLiteral("-"), QStringLiteral("--force") },
                     "{\"showCPUItem\": 1}")
                     .code,
            0);
        QCOMPARE(objectIn(contentOf(suitePath())), (QJsonObject { { QStringLiteral("showCPUItem"), 1 } }));
        QCOMPARE(ctl({ QStringLiteral("import"), QStringLiteral("-"), QStringLiteral("--force") },
                     "{\"meterShape\": \"square\",")
                     .code,
            1);
        QCOMPARE(objectIn(contentOf(suitePath())), (QJsonObject { { QStringLiteral("showCPUItem"), 1 } }));
    }

    void afileThatIsNotThereIsNamed()
    {
        const auto absent = ctl({ QStringLiteral("import"), besides("nowhere.json") });
        QCOMPARE(absent.code, 1);
        QVERIFY2(absent.errors.contains("nowhere.json\": No such file"), absent.errors.constData());
        const auto directory = ctl({ QStringLiteral("import"), TestHome::root() });
        QCOMPARE(directory.code, 1);
        QVERIFY2(directory.errors.contains("irectory"), directory.errors.constData());
    }

    void anExportThatCannotBeWrittenFailsWithTheReason()
    {
        write(suitePath(), stored);
        const auto nowhere = ctl({ QStringLiteral("export"), besides("nowhere/kept.json") });
        QCOMPARE(nowhere.code, 1);
        QVERIFY2(nowhere.errors.contains("nowhere/kept.json\": No such file"), nowhere.errors.constData());
        const auto directory = ctl({ QStringLiteral("export"), TestHome::root() });
        QCOMPARE(directory.code, 1);
        const auto full = Kestrumctl::run(
            { QStringLiteral("-c"), QStringLiteral("exec \"$0\" export - > /dev/full"), Kestrumctl::path() },
            {}, {}, QStringLiteral("/bin/sh"));
        QCOMPARE(full.code, 1);
        QVERIFY2(full.errors.contains("No space left on device"), full.errors.constData());
    }

    void anExportReplacesAFileWhole()
    {
        write(suitePath(), stored);
        write(besides("old.json"), QByteArray(4096, 'x'));
        QVERIFY(QFile::link(besides("old.json"), besides("link.json")));
        QCOMPARE(ctl({ QStringLiteral("export"), besides("link.json") }).code, 0);
        QCOMPARE(objectIn(contentOf(besides("old.json"))), objectIn(stored));
        QVERIFY(QFileInfo(besides("link.json")).isSymLink());
        QVERIFY(QFile::remove(besides("link.json")));
    }

    void anExportThatDoesNotFitLeavesTheOldFile()
    {
        write(suitePath(), stored);
        write(besides("small.json"), "old");
        // The shell limits file sizes to 0, so writing fails as on a full disk.
        const auto result = Kestrumctl::run(
            { QStringLiteral("-c"), QStringLiteral("trap '' XFSZ; ulimit -f 0; exec \"$0\" export \"$1\""),
                Kestrumctl::path(), besides("small.json") },
            {}, {}, QStringLiteral("/bin/sh"));
        QCOMPARE(result.code, 1);
        QVERIFY2(result.errors.contains("small.json\": File too large"), result.errors.constData());
        QCOMPARE(contentOf(besides("small.json")), QByteArray("old"));
        QCOMPARE(QDir(TestHome::root()).entryList({ QStringLiteral("small.json*") }),
            (QStringList { QStringLiteral("small.json") }));
    }

    void anExportKeepsTheModeOfAFile()
    {
        write(suitePath(), stored);
        write(besides("mode.json"), "old");
        const QByteArray file = besides("mode.json").toUtf8();
        struct stat state = {};
        for (const mode_t mode : { 0640, 0604, 0600 }) {
            QCOMPARE(::chmod(file.constData(), mode), 0);
            QCOMPARE(ctl({ QStringLiteral("export"), besides("mode.json") }).code, 0);
            QCOMPARE(::stat(file.constData(), &state), 0);
            QCOMPARE(state.st_mode & 07777, mode);
        }
    }

    void anExportOverAFileWhoseStateCannotBeAskedFails()
    {
        const QString obstacle = TracedSave::obstacle();
        if (!obstacle.isEmpty())
            QSKIP(qUtf8Printable(obstacle));
        write(suitePath(), stored);
        write(besides("asked.json"), "old");
        const QByteArray file = besides("asked.json").toUtf8();
        QCOMPARE(::chmod(file.constData(), 0640), 0);
        const auto result
            = Kestrumctl::run({ QStringLiteral("-f"), QStringLiteral("-o"), QStringLiteral("/dev/null"),
                                  QStringLiteral("-P"), besides("asked.json"), QStringLiteral("-e"),
                                  QStringLiteral("trace=%stat,statx,%lstat,newfstatat"), QStringLiteral("-e"),
                                  QStringLiteral("inject=%stat,statx,%lstat,newfstatat:error=EIO"),
                                  Kestrumctl::path(), QStringLiteral("export"), besides("asked.json") },
                {}, { { QStringLiteral("ASAN_OPTIONS"), QStringLiteral("detect_leaks=0") } },
                QStringLiteral("strace"));
        QCOMPARE(result.code, 1);
        QVERIFY2(result.errors.contains("asked.json\": Input/output error"), result.errors.constData());
        QCOMPARE(contentOf(besides("asked.json")), QByteArray("old"));
        struct stat state = {};
        QCOMPARE(::stat(file.constData(), &state), 0);
        QCOMPARE(state.st_mode & 07777, mode_t(0640));
    }

    void anExportWritesThroughToAPipe()
    {
        // The pipe stands for any file that is not regular: a wrong export would replace a device by a file.
        write(suitePath(), stored);
        const QByteArray pipe = besides("pipe").toUtf8();
        QCOMPARE(::mkfifo(pipe.constData(), 0600), 0);
        const auto result = Kestrumctl::run(
            { QStringLiteral("-c"),
                QStringLiteral(
                    "timeout 10 cat \"$1\" & timeout 10 \"$0\" export \"$1\"; code=$?; wait; exit $code"),
                Kestrumctl::path(), QString::fromUtf8(pipe) },
            {}, {}, QStringLiteral("/bin/sh"));
        QCOMPARE(result.code, 0);
        QCOMPARE(objectIn(result.output), objectIn(stored));
        struct stat state = {};
        QCOMPARE(::lstat(pipe.constData(), &state), 0);
        QVERIFY(S_ISFIFO(state.st_mode));
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, KestrumctlFilesTest)
#include "KestrumctlFilesTest.moc"
