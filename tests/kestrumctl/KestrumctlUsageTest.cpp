#include "KestrumShared/Settings/Keys.h"
#include "KestrumShared/Settings/SharedSettings.h"
#include "tests/Support/Kestrumctl.h"
#include "tests/Support/OrdinaryUser.h"

#include <QFile>
#include <sys/stat.h>
#include <sys/statvfs.h>
#include <unistd.h>

using namespace kestrum;

class KestrumctlUsageTest : public QObject {
    Q_OBJECT

    const QStringList m_verbs
        = words("read write delete watch export import post listen agents agent panel popover describe "
                "render open login-item");

private Q_SLOTS:
    void helpListsEveryVerbWithItsPurpose()
    {
        const auto help = ctl("--help");
        QCOMPARE(help.code, 0);
        QCOMPARE(help.errors, QByteArray());
        QVERIFY(help.output.startsWith("Usage: kestrumctl VERB"));
        for (const QString& verb : m_verbs) {
            const QByteArray line = "\n  " + verb.toUtf8().leftJustified(10);
            QVERIFY_CONTAINS(help.output, line);
        }
    }

    void everyVerbTellsItsOwnUsage()
    {
        for (const QString& verb : m_verbs) {
            const auto help = ctl("", { verb, QStringLiteral("--help") });
            QCOMPARE(help.code, 0);
            QCOMPARE(help.errors, QByteArray());
            QVERIFY2(help.output.startsWith("Usage: kestrumctl " + verb.toUtf8()), help.output.constData());
            QVERIFY(help.output.endsWith(".\n") || help.output.count('\n') > 5);
        }
    }

    void versionIsThatOfTheProject() { QCOMPARE(ctl("--version"), done("kestrumctl " KESTRUM_VERSION "\n")); }

    void usageOfSettingsVerbsListsEveryKeyWithItsType()
    {
        const QByteArray help = ctl("write --help").output;
        QCOMPARE(ctl("read --help").output.mid(help.size() - 200).isEmpty(), false);
        const auto line = [](const char* key, const char* type) {
            return "\n  " + QByteArray(key).leftJustified(30) + type + '\n';
        };
        for (const QString& key : SharedSettings::factoryDefaults().keys())
            QVERIFY2(help.contains("\n  " + key.toUtf8() + ' '), qPrintable(key));
        QVERIFY(help.contains(line(Keys::showCPUItem.name, "true or false")));
        QVERIFY(help.contains(line(Keys::refreshInterval.name, "a number")));
        QVERIFY(help.contains(line(Keys::meterStyle.name, "a text")));
        QVERIFY(help.contains(line(Keys::updatesAvailable.name, "a text")));
        QCOMPARE(help.mid(help.indexOf("\nKeys:\n")).count('\n'), 2 + 34);
    }

    void usageOfPostListsEverySignal()
    {
        const QByteArray help = ctl("post --help").output;
        for (const auto& entry : allCases<SharedSettings::Signal>())
            QVERIFY2(help.contains(QByteArray("\n  ") + entry.rawValue + ' '), entry.rawValue);
    }

    void aWrongCallIsToldByName_data()
    {
        QTest::addColumn<QByteArray>("call");
        QTest::addColumn<QByteArray>("named");
        const auto row = [](const char* call, const char* named) {
            QTest::newRow(*call ? call : "nothing") << QByteArray(call) << QByteArray(named);
        };
        row("", "a verb is missing");
        row("raed", "there is no verb \"raed\"; did you mean \"read\"");
        row("xyzzy", "\"describe\"");
        row("READ", "did you mean \"read\"");
        row("read --sotred", "there is no option \"--sotred\"; did you mean \"--stored\"");
        row("read a b", "too many arguments");
        row("read --stored=yes", "--stored takes no value");
        row("read meterstyle", "there is no key \"meterstyle\"; did you mean \"meterStyle\"");
        row("read meterStlye", "did you mean \"meterStyle\"");
        row("write", "too few arguments; it takes KEY JSON");
        row("write meterStyle", "too few arguments");
        row("write shwCPUItem true", "did you mean \"showCPUItem\"");
        row("delete", "too few arguments");
        row("delete meterShap", "did you mean \"meterShape\"");
        row("watch all", "too many arguments; it takes none");
        row("export", "too few arguments");
        row("import", "too few arguments");
        row("post", "too few arguments");
        row("post setings", "there is no signal \"setings\"; did you mean \"settings\"");
        row("post Settings", "did you mean \"settings\"");
        row("post settings quitAgent", "too many arguments");
        row("listen", "too few arguments");
        row("listen settings menubarchanged", "did you mean \"menuBarChanged\"");
        row("listen settings --count", "--count needs a value");
        row("listen settings --count 0", "--count takes a whole number above 0, not \"0\"");
        row("listen settings --count -1", "not \"-1\"");
        row("listen settings --count many", "not \"many\"");
        row("listen settings --timeout 0", "--timeout takes seconds above 0");
        row("listen settings --timeout nan", "not \"nan\"");
        row("listen settings --timeout inf", "not \"inf\"");
        row("agents all", "too many arguments; it takes none");
        row("agent", "too few arguments; it takes start|stop");
        row("agent strat", "there is no action \"strat\"; did you mean \"start\"");
        row("agent start stop", "too many arguments");
        row("panel", "panel takes status, add, remove, or --png");
        row("panel add x", "too many arguments");
        row("panel status --scale 2", "--scale needs --png");
        row("panel --png --scale 5", "from 0.5 to 4, not \"5\"");
        row("panel --png --scale nan", "not \"nan\"");
        row("panel --png --height 10", "from 11 to 88, not \"10\"");
        row("panel --png --foreground red", "not \"red\"");
        row("panel staus", "there is no request \"staus\"; did you mean \"status\"");
        row("describe cpu", "too many arguments");
        row("describe --cores 0", "not \"0\"");
        row("describe --cores 1025", "from 1 to 1024");
        row("describe --cores 8,", "not \"8,\"");
        row("describe --cores eight", "not \"eight\"");
        row("render cpu", "-o FILE.png");
        row("render -o x.png", "too few arguments");
        row("render memry -o x.png", "there is no section \"memry\"; did you mean \"memory\"");
        row("render strp -o x.png", "did you mean \"strip\"");
        row("render cpu -o x.png --scale 0", "--scale takes a number above 0 and up to 16, not \"0\"");
        row("render cpu -o x.png --scale -1", "not \"-1\"");
        row("render cpu -o x.png --scale 16.1", "not \"16.1\"");
        row("render cpu -o x.png --scale nan", "not \"nan\"");
        row("render cpu -o x.png --appearance drak", "did you mean \"dark\"");
        row("render cpu -o x.png --cores 4,2000", "not \"4,2000\"");
        row("render popover-disk -o x.png", "there is no section \"popover-disk\"");
        row("render popover-memry -o x.png", "did you mean \"popover-memory\"");
        row("render popover-cpu -o x.png --direction up", "there is no direction \"up\"");
        row("render cpu -o x.png --direction rtl", "--direction is for popovers only");
        row("render strip -o x.png --poor", "--poor is for popovers only");
        row("render cpu -o x.png --root /", "--root is for popovers only");
        row("render popover-cpu -o x.png --root / --poor", "--poor is for samples");
        row("render popover-cpu -o x.png --root / --cores 4", "--cores is for samples");
        row("render popover-cpu -o x.png --root /dev/null", "no machine below \"/dev/null\"");
    }

    void aWrongCallIsToldByName()
    {
        QFETCH(const QByteArray, call);
        QFETCH(const QByteArray, named);
        QVERIFY_FAILED(ctl(call.constData()), 2, named);
        QVERIFY(!QFile::exists(QStringLiteral("x.png")));
        QVERIFY(!QFile::exists(TestHome::configDirectory()));
    }

    void namesAreEscapedInMessages()
    {
        const QString forged = QStringLiteral("1\nkestrumctl: forged");
        for (const char* call : { "read", "listen settings --count", "listen settings --timeout",
                 "render cpu -o x.png --scale" }) {
            const auto result = ctl(call, { forged });
            QCOMPARE(result.code, 2);
            QCOMPARE(result.errors.count('\n'), 1);
        }
    }

    void noDisplayIsNeeded()
    {
        const Programs::Variables noDisplay { { "QT_QPA_PLATFORM", "offscreen" }, { "DISPLAY", {} },
            { "WAYLAND_DISPLAY", {} } };
        QCOMPARE(ctl("describe", noDisplay).code, 0);
        // Verbs such as "read" load no platform plugin, so the name of an unknown platform causes no error.
        QCOMPARE(ctl("read meterStyle", Programs::Variables { { "QT_QPA_PLATFORM", "nonesuch" } }),
            done("\"bars\"\n"));
    }

    void runsAsALinkFromElsewhere()
    {
        const QString link = TestHome::root() + QStringLiteral("/kestrumctl");
        QVERIFY(QFile::link(Kestrumctl::path(), link));
        // The build folder has a link to the program.
        const QString built = qEnvironmentVariable("KESTRUM_BUILD") + QStringLiteral("/kestrumctl");
        for (const QString& program : { link, built })
            QCOMPARE(Programs::run(program, words("read meterStyle")), done("\"bars\"\n"));
    }

    void withTheRightsOfAnotherUserItDoesNothing()
    {
        if (::geteuid() != 0)
            QSKIP("only root can lend its rights to a program");
        struct statvfs volume { };
        QCOMPARE(::statvfs(QFile::encodeName(TestHome::root()).constData(), &volume), 0);
        if (volume.f_flag & ST_NOSUID)
            QSKIP("programs on this volume do not get the rights of their owner");
        const QString lent = TestHome::root() + text("/lent");
        QVERIFY(QFile::copy(Kestrumctl::path(), lent));
        QCOMPARE(::chmod(QFile::encodeName(lent).constData(), 04755), 0);
        QCOMPARE(::chmod(QFile::encodeName(TestHome::root()).constData(), 0711), 0);
        const QStringList command = asOrdinaryUser({ lent, text("read") });
        const auto ended = Programs::run(command.first(), command.mid(1));
        QVERIFY(ended.code != 0);
        QVERIFY_CONTAINS(ended.errors, "setuid");
        QCOMPARE(ended.output, QByteArray());
    }

    void aFullOutputIsAFailure()
    {
        QVERIFY_FAILED(Kestrumctl::inShell("\"$0\" read > /dev/full"), 1,
            "cannot write to standard output: No space left on device");
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, KestrumctlUsageTest)
#include "KestrumctlUsageTest.moc"
