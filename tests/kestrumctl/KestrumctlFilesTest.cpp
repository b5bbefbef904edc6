#include "tests/Support/Kestrumctl.h"
#include "tests/Support/TracedSave.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
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
QJsonObject objectInFile(const QString& path)
{
    return objectIn(contentOf(path));
}

mode_t modeOf(const QString& path)
{
    struct stat state = {};
    return ::lstat(QFile::encodeName(path).constData(), &state) == 0 ? state.st_mode : 0;
}
void setMode(const QString& path, mode_t mode)
{
    QCOMPARE(::chmod(QFile::encodeName(path).constData(), mode), 0);
}

const QByteArray stored = "{\"meterStyle\": \"wave\", \"showMemoryItem\": false, \"refreshInterval\": 2,"
                          " \"of another version\": {\"deep\": [1, null, \"ü\"]}}";

} // namespace

class KestrumctlFilesTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        QDir(TestHome::configDirectory()).removeRecursively();
        write(suitePath(), stored);
    }

    void anExportHoldsWhatIsStoredAndNoDefaults()
    {
        const QString file = besides("kept.json");
        QCOMPARE(ctl("export", { file }), done());
        QCOMPARE(objectInFile(file), objectIn(stored));
        // Each key has a line of its own, so that people can compare versions of the file.
        QVERIFY(contentOf(file).count('\n') >= 4);
        QVERIFY(QFile::remove(suitePath()));
        QCOMPARE(ctl("export", { file }).code, 0);
        QCOMPARE(objectInFile(file), QJsonObject());
        QCOMPARE(contentOf(file).trimmed().at(0), '{');
    }

    void anExportStandsOnStandardOutputToo()
    {
        const auto result = ctl("export -");
        QCOMPARE(result.code, 0);
        QCOMPARE(objectIn(result.output), objectIn(stored));
    }

    void anExportIsImportedWhole()
    {
        QCOMPARE(ctl("export", { besides("kept.json") }).code, 0);
        QVERIFY(QFile::remove(suitePath()));
        QCOMPARE(ctl("import", { besides("kept.json") }), done());
        QCOMPARE(objectInFile(suitePath()), objectIn(stored));
    }

    void importFromStandardInput()
    {
        QVERIFY(QFile::remove(suitePath()));
        QCOMPARE(ctl("import -", stored).code, 0);
        QCOMPARE(objectInFile(suitePath()), objectIn(stored));
    }

    void importMergesWithWhatIsStored()
    {
        write(suitePath(), "{\"meterShape\": \"square\", \"meterStyle\": \"compact\"}");
        QCOMPARE(ctl("import -", stored).code, 0);
        QJsonObject expected = objectIn(stored);
        expected.insert(QStringLiteral("meterShape"), QStringLiteral("square"));
        QCOMPARE(objectInFile(suitePath()), expected);
    }

    void importIsOneSave()
    {
        write(suitePath(), "{}");
        Kestrumctl::Running watch("watch", "watching");
        QVERIFY(watch.isReady());
        QCOMPARE(ctl("import -", stored).code, 0);
        // One notice contains all changed keys, in alphabetical order.
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
        const auto result = ctl("import", { besides("refused.json") });
        QVERIFY_FAILED(result, 1, reason);
        QVERIFY_CONTAINS(result.errors, "refused.json");
        QCOMPARE(contentOf(suitePath()), QByteArray("{\"meterStyle\": \"compact\"}"));
    }

    void everyWrongValueIsNamed()
    {
        const auto result = ctl("import -",
            "{\"showCPUItem\": 1, \"meterStyle\": true, \"refreshInterval\": \"1\", \"meterShape\": "
            "\"pill\"}");
        QCOMPARE(result.code, 1);
        for (const char* key : { "\"showCPUItem\"", "\"meterStyle\"", "\"refreshInterval\"" })
            QVERIFY_CONTAINS(result.errors, key);
        QVERIFY(!result.errors.contains("meterShape"));
    }

    void forceImportsWrongTypesButNoDamage()
    {
        write(suitePath(), "{}");
        const QJsonObject expected { { QStringLiteral("showCPUItem"), 1 } };
        QCOMPARE(ctl("import - --force", "{\"showCPUItem\": 1}").code, 0);
        QCOMPARE(objectInFile(suitePath()), expected);
        QCOMPARE(ctl("import - --force", "{\"meterShape\": \"square\",").code, 1);
        QCOMPARE(objectInFile(suitePath()), expected);
    }

    void afileThatIsNotThereIsNamed()
    {
        QVERIFY_FAILED(ctl("import", { besides("nowhere.json") }), 1, "nowhere.json\": No such file");
        QVERIFY_FAILED(ctl("import", { TestHome::root() }), 1, "irectory");
    }

    void anExportThatCannotBeWrittenFailsWithTheReason()
    {
        QVERIFY_FAILED(
            ctl("export", { besides("nowhere/kept.json") }), 1, "nowhere/kept.json\": No such file");
        QCOMPARE(ctl("export", { TestHome::root() }).code, 1);
        QVERIFY_FAILED(Kestrumctl::inShell("exec \"$0\" export - > /dev/full"), 1, "No space left on device");
    }

    void anExportReplacesAFileWhole()
    {
        write(besides("old.json"), QByteArray(4096, 'x'));
        QVERIFY(QFile::link(besides("old.json"), besides("link.json")));
        QCOMPARE(ctl("export", { besides("link.json") }).code, 0);
        QCOMPARE(objectInFile(besides("old.json")), objectIn(stored));
        QVERIFY(QFileInfo(besides("link.json")).isSymLink());
        QVERIFY(QFile::remove(besides("link.json")));
    }

    void anExportThatDoesNotFitLeavesTheOldFile()
    {
        const QString file = besides("small.json");
        write(file, "old");
        // The shell limits file sizes to 0, so writing fails as on a full disk.
        QVERIFY_FAILED(Kestrumctl::inShell("trap '' XFSZ; ulimit -f 0; exec \"$0\" export \"$1\"", file), 1,
            "small.json\": File too large");
        QCOMPARE(contentOf(file), QByteArray("old"));
        QCOMPARE(QDir(TestHome::root()).entryList({ QStringLiteral("small.json*") }),
            (QStringList { QStringLiteral("small.json") }));
    }

    void anExportKeepsTheModeOfAFile()
    {
        const QString file = besides("mode.json");
        write(file, "old");
        for (const mode_t mode : { 0640, 0604, 0600 }) {
            setMode(file, mode);
            QCOMPARE(ctl("export", { file }).code, 0);
            QCOMPARE(modeOf(file) & 07777, mode);
        }
    }

    void anExportOverAFileWhoseStateCannotBeAskedFails()
    {
        const QString obstacle = TracedSave::obstacle();
        if (!obstacle.isEmpty())
            QSKIP(qUtf8Printable(obstacle));
        const QString file = besides("asked.json");
        write(file, "old");
        setMode(file, 0640);
        QVERIFY_FAILED(Programs::run(QStringLiteral("strace"),
                           words("-f -o /dev/null -e trace=%stat,statx,%lstat,newfstatat"
                                 " -e inject=%stat,statx,%lstat,newfstatat:error=EIO -P")
                               << file << Kestrumctl::path() << QStringLiteral("export") << file,
                           { { "ASAN_OPTIONS", "detect_leaks=0" } }),
            1, "asked.json\": Input/output error");
        QCOMPARE(contentOf(file), QByteArray("old"));
        QCOMPARE(modeOf(file) & 07777, mode_t(0640));
    }

    void anExportWritesThroughToAPipe()
    {
        // The pipe stands for all files that are not regular: a wrong export would replace a device by a file.
        const QString pipe = besides("pipe");
        QCOMPARE(::mkfifo(QFile::encodeName(pipe).constData(), 0600), 0);
        const auto result = Kestrumctl::inShell(
            "timeout 10 cat \"$1\" & timeout 10 \"$0\" export \"$1\"; code=$?; wait; exit $code", pipe);
        QCOMPARE(result.code, 0);
        QCOMPARE(objectIn(result.output), objectIn(stored));
        QVERIFY(S_ISFIFO(modeOf(pipe)));
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, KestrumctlFilesTest)
#include "KestrumctlFilesTest.moc"
