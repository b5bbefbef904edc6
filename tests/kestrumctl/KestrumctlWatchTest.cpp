#include "KestrumShared/Settings/SharedSettings.h"
#include "Platform/Store/UserDefaults.h"
#include "tests/Support/Kestrumctl.h"
#include "tests/Support/TestHome.h"

#include <QDir>
#include <QFile>
#include <QTest>
#include <csignal>

using namespace kestrum;

namespace {

void write(const char* key, const char* json)
{
    QCOMPARE(ctl({ QStringLiteral("write"), QString::fromUtf8(key), QString::fromUtf8(json),
                     QStringLiteral("--force") })
                 .code,
        0);
}

const QStringList watch { QStringLiteral("watch") };

} // namespace

class KestrumctlWatchTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { QDir(TestHome::configDirectory()).removeRecursively(); }

    void printsExactlyTheChangedKeys()
    {
        write("meterShape", "\"square\"");
        Kestrumctl::Running watching(watch, "watching");
        QVERIFY(watching.isReady());
        write("meterStyle", "\"wave\"");
        QCOMPARE(watching.lines(1), (QByteArrayList { "meterStyle\t\"wave\"" }));
        write("showMemoryItem", "false");
        QCOMPARE(watching.lines(2).last(), QByteArray("showMemoryItem\tfalse"));
        write("of another version", "{\"a\":[1,2]}");
        QCOMPARE(watching.lines(3).last(), QByteArray("of another version\t{\"a\":[1,2]}"));
        write("meterStyle", "null");
        QCOMPARE(watching.lines(4).last(), QByteArray("meterStyle\tnull"));
        watching.signal(SIGTERM);
        const auto end = watching.ended();
        QCOMPARE(end.code, 0);
        QCOMPARE(end.output.count('\n'), 4);
        QCOMPARE(end.errors, QByteArray("watching\n"));
    }

    void aKeyWithoutADefaultBecomesAbsent()
    {
        write("cpuAccent", "\"teal\"");
        Kestrumctl::Running watching(watch, "watching");
        QCOMPARE(ctl({ QStringLiteral("delete"), QStringLiteral("cpuAccent") }).code, 0);
        QCOMPARE(watching.lines(1), (QByteArrayList { "cpuAccent\tabsent" }));
        write("cpuAccent", "\"pine\"");
        QCOMPARE(watching.lines(2).last(), QByteArray("cpuAccent\t\"pine\""));
    }

    void aDeletedKeyGoesBackToItsDefault()
    {
        write("meterStyle", "\"wave\"");
        Kestrumctl::Running watching(watch, "watching");
        QCOMPARE(ctl({ QStringLiteral("delete"), QStringLiteral("meterStyle") }).code, 0);
        QCOMPARE(watching.lines(1), (QByteArrayList { "meterStyle\t\"bars\"" }));
    }

    void aWriteThatChangesNothingInEffectIsSilent()
    {
        write("meterShape", "\"square\"");
        Kestrumctl::Running watching(watch, "watching");
        write("meterShape", "\"square\""); // the stored value
        write("meterStyle", "\"bars\"");   // the default value
        QCOMPARE(ctl({ QStringLiteral("delete"), QStringLiteral("meterStyle") }).code, 0);
        write("meterStyle", "\"compact\""); // the only line, which shows that the others were silent
        QCOMPARE(watching.lines(1), (QByteArrayList { "meterStyle\t\"compact\"" }));
        watching.signal(SIGTERM);
        QCOMPARE(watching.ended().output, QByteArray("meterStyle\t\"compact\"\n"));
    }

    void noKeyForgesALine()
    {
        Kestrumctl::Running watching(watch, "watching");
        write("a\nmeterStyle\t\"wave\"\x1B[2J\u202E", "1");
        write("showMemoryItem", "false"); // this line shows that the other one is complete
        QByteArrayList lines = watching.lines(1);
        for (int more = 2; !lines.contains("showMemoryItem\tfalse") && more < 6; ++more)
            lines = watching.lines(more);
        QCOMPARE(lines,
            (QByteArrayList { "a\\nmeterStyle\\t\"wave\"\\x1b[2J\\u202e\t1", "showMemoryItem\tfalse" }));
    }

    void aHandEditIsSeen()
    {
        write("meterStyle", "\"wave\"");
        Kestrumctl::Running watching(watch, "watching");
        QFile file(suitePath());
        QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        file.write("{\"meterStyle\": \"compact\", \"refreshInterval\": 5}");
        file.close();
        // The truncation may be seen as a change of its own; the last lines show the file's final content.
        QByteArrayList lines = watching.lines(2);
        for (int more = 3; !lines.contains("refreshInterval\t5") && more < 6; ++more)
            lines = watching.lines(more);
        QVERIFY(lines.contains("meterStyle\t\"compact\""));
        QVERIFY(lines.contains("refreshInterval\t5"));
    }

    void aWriteOfAnotherProgramsLibraryIsSeen()
    {
        Kestrumctl::Running watching(watch, "watching");
        QVERIFY(SharedSettings::store().set("popoverAppearance", QStringLiteral("dark")));
        QCOMPARE(watching.lines(1), (QByteArrayList { "popoverAppearance\t\"dark\"" }));
        QVERIFY(SharedSettings::store().remove("popoverAppearance"));
    }

    void interruptAndTerminateEndItWell_data()
    {
        QTest::addColumn<int>("number");
        QTest::newRow("SIGINT") << SIGINT;
        QTest::newRow("SIGTERM") << SIGTERM;
    }

    void interruptAndTerminateEndItWell()
    {
        QFETCH(const int, number);
        Kestrumctl::Running watching(watch, "watching");
        QVERIFY(watching.isReady());
        watching.signal(number);
        const auto end = watching.ended();
        QCOMPARE(end.code, 0);
        QCOMPARE(end.output, QByteArray());
    }

    void aClosedOutputEndsIt()
    {
        // As in "kestrumctl watch > a full disk".
        QProcess shell;
        shell.setProcessChannelMode(QProcess::SeparateChannels);
        shell.start(QStringLiteral("/bin/sh"),
            { QStringLiteral("-c"), QStringLiteral("exec \"$0\" watch > /dev/full"), Kestrumctl::path() });
        QVERIFY(shell.waitForStarted(20'000));
        shell.setReadChannel(QProcess::StandardError);
        QVERIFY(shell.waitForReadyRead(20'000));
        write("meterStyle", "\"wave\"");
        QVERIFY(shell.waitForFinished(20'000));
        QCOMPARE(shell.exitCode(), 1);
        QVERIFY(shell.readAllStandardError().contains("No space left on device"));
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, KestrumctlWatchTest)
#include "KestrumctlWatchTest.moc"
