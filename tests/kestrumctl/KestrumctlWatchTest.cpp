#include "KestrumShared/Settings/SharedSettings.h"
#include "tests/Support/Kestrumctl.h"

#include <csignal>

using namespace kestrum;

namespace {

void store(const char* key, const char* json)
{
    QCOMPARE(ctl("write --force", { QString::fromUtf8(key), QString::fromUtf8(json) }).code, 0);
}

} // namespace

class KestrumctlWatchTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { QDir(TestHome::configDirectory()).removeRecursively(); }

    void printsExactlyTheChangedKeys()
    {
        store("meterShape", "\"square\"");
        Kestrumctl::Running watching("watch", "watching");
        QVERIFY(watching.isReady());
        store("meterStyle", "\"wave\"");
        QCOMPARE(watching.lines(1), (QByteArrayList { "meterStyle\t\"wave\"" }));
        store("showMemoryItem", "false");
        QCOMPARE(watching.lines(2).last(), QByteArray("showMemoryItem\tfalse"));
        store("of another version", "{\"a\":[1,2]}");
        QCOMPARE(watching.lines(3).last(), QByteArray("of another version\t{\"a\":[1,2]}"));
        store("meterStyle", "null");
        QCOMPARE(watching.lines(4).last(), QByteArray("meterStyle\tnull"));
        watching.signal(SIGTERM);
        const auto end = watching.ended();
        QCOMPARE(end.output.count('\n'), 4);
        QCOMPARE(end, (Programs::Ended { 0, end.output, "watching\n" }));
    }

    void aKeyWithoutADefaultBecomesAbsent()
    {
        store("cpuAccent", "\"teal\"");
        Kestrumctl::Running watching("watch", "watching");
        QCOMPARE(ctl("delete cpuAccent").code, 0);
        QCOMPARE(watching.lines(1), (QByteArrayList { "cpuAccent\tabsent" }));
        store("cpuAccent", "\"pine\"");
        QCOMPARE(watching.lines(2).last(), QByteArray("cpuAccent\t\"pine\""));
    }

    void aDeletedKeyGoesBackToItsDefault()
    {
        store("meterStyle", "\"wave\"");
        Kestrumctl::Running watching("watch", "watching");
        QCOMPARE(ctl("delete meterStyle").code, 0);
        QCOMPARE(watching.lines(1), (QByteArrayList { "meterStyle\t\"bars\"" }));
    }

    void aWriteThatChangesNothingInEffectIsSilent()
    {
        store("meterShape", "\"square\"");
        Kestrumctl::Running watching("watch", "watching");
        store("meterShape", "\"square\""); // equals the stored value
        store("meterStyle", "\"bars\"");   // equals the default value
        QCOMPARE(ctl("delete meterStyle").code, 0);
        store("meterStyle", "\"compact\""); // the only printed line; it shows that the other saves print none
        QCOMPARE(watching.lines(1), (QByteArrayList { "meterStyle\t\"compact\"" }));
        watching.signal(SIGTERM);
        QCOMPARE(watching.ended().output, QByteArray("meterStyle\t\"compact\"\n"));
    }

    void noKeyForgesALine()
    {
        Kestrumctl::Running watching("watch", "watching");
        store("a\nmeterStyle\t\"wave\"\x1B[2J\u202E", "1");
        store("showMemoryItem", "false"); // this line shows that the other line is complete
        QByteArrayList lines = watching.lines(1);
        for (int more = 2; !lines.contains("showMemoryItem\tfalse") && more < 6; ++more)
            lines = watching.lines(more);
        QCOMPARE(lines,
            (QByteArrayList { "a\\nmeterStyle\\t\"wave\"\\x1b[2J\\u202e\t1", "showMemoryItem\tfalse" }));
    }

    void aHandEditIsSeen()
    {
        store("meterStyle", "\"wave\"");
        Kestrumctl::Running watching("watch", "watching");
        write(suitePath(), "{\"meterStyle\": \"compact\", \"refreshInterval\": 5}");
        // The truncation may cause a notice of its own. The last lines show the file's final content.
        QByteArrayList lines = watching.lines(2);
        for (int more = 3; !lines.contains("refreshInterval\t5") && more < 6; ++more)
            lines = watching.lines(more);
        QVERIFY(lines.contains("meterStyle\t\"compact\""));
        QVERIFY(lines.contains("refreshInterval\t5"));
    }

    void aWriteOfAnotherProgramsLibraryIsSeen()
    {
        Kestrumctl::Running watching("watch", "watching");
        QVERIFY(SharedSettings::store().set("popoverAppearance", QStringLiteral("dark")));
        QCOMPARE(watching.lines(1), (QByteArrayList { "popoverAppearance\t\"dark\"" }));
        QVERIFY(SharedSettings::store().remove("popoverAppearance"));
    }

    void aClosedOutputEndsIt()
    {
        // /dev/full behaves like a full disk.
        const auto shell = Programs::started(QStringLiteral("/bin/sh"),
            { QStringLiteral("-c"), QStringLiteral("exec \"$0\" watch > /dev/full"), Kestrumctl::path() });
        shell->setReadChannel(QProcess::StandardError);
        QVERIFY(shell->waitForReadyRead(Programs::patience));
        store("meterStyle", "\"wave\"");
        QVERIFY_FAILED(Programs::ended(*shell), 1, "No space left on device");
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, KestrumctlWatchTest)
#include "KestrumctlWatchTest.moc"
