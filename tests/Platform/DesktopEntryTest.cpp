#include "Platform/LoginItem/DesktopEntry.h"

#include "tests/Support/Rows.h"
#include "tests/Support/TestHome.h"

#include <QCoreApplication>
#include <QRandomGenerator>
#include <QTest>

using namespace kestrum;

class DesktopEntryTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void whatIsNotChangedStays()
    {
        const QByteArray text
            = "# mine\n[Desktop Entry]\nName=A\nName[de]=B\n\n# more\nX-Mine = 1 \n\n[Other]\nExec=no\n";
        DesktopEntry entry = DesktopEntry::parsed(text);
        QCOMPARE(entry.text(), text);
        QVERIFY(!entry.isDamaged());
        entry.set("Name", "C");
        QCOMPARE(entry.text(), QByteArray(text).replace("Name=A", "Name=C"));
    }

    void aNewKeyStandsAtTheEndOfTheMainGroup()
    {
        DesktopEntry entry = DesktopEntry::parsed("[Desktop Entry]\nName=A\n\n[Other]\nExec=no\n");
        entry.set("Exec", "yes");
        QCOMPARE(entry.text(), QByteArray("[Desktop Entry]\nName=A\nExec=yes\n\n[Other]\nExec=no\n"));
        DesktopEntry empty = DesktopEntry::parsed({});
        empty.set("Exec", "yes");
        QCOMPARE(empty.text(), QByteArray("[Desktop Entry]\nExec=yes\n"));
    }

    void ofAKeyThatStandsTwiceTheLastCounts()
    {
        DesktopEntry entry
            = DesktopEntry::parsed("[Desktop Entry]\nHidden=true\n[Other]\n[Desktop Entry]\nHidden=false\n");
        QCOMPARE(entry.value("Hidden").value_or("absent"), QByteArray("false"));
        entry.set("Hidden", "true");
        QCOMPARE(entry.text(), QByteArray("[Desktop Entry]\nHidden=true\n[Other]\n[Desktop Entry]\n"));
    }

    void valuesOfOtherGroupsAreNotOurs()
    {
        const DesktopEntry entry = DesktopEntry::parsed("[Desktop Entry]\n[Desktop Action x]\nExec=no\n");
        QVERIFY(!entry.value("Exec"));
    }

    void blanksAndLineEndsOfOtherSystemsDoNotMatter()
    {
        const DesktopEntry entry = DesktopEntry::parsed("[Desktop Entry]\r\n  Hidden =  true \r\nExec=a b");
        QVERIFY(!entry.isDamaged());
        QCOMPARE(entry.value("Hidden").value_or("absent"), QByteArray("true"));
        QCOMPARE(entry.value("Exec").value_or("absent"), QByteArray("a b"));
    }

    void linesThatAStrictReaderRefusesAreDamage()
    {
        const struct {
            const char* name;
            QByteArray text;
            QByteArray mended;
        } rows[] {
            { "words", "[Desktop Entry]\nwords\nA=1\n", "[Desktop Entry]\nA=1\n" },
            { "no key", "[Desktop Entry]\n=1\nA=1\n", "[Desktop Entry]\nA=1\n" },
            { "half a locale", "[Desktop Entry]\nA[=1\nB]=1\nC[]=1\nD=1\n", "[Desktop Entry]\nD=1\n" },
            { "a zero", QByteArray("[Desktop Entry]\nA=\0\nB=1\n", 25), "[Desktop Entry]\nB=1\n" },
            { "a key before the group", "A=1\n[Desktop Entry]\nB=1\n", "[Desktop Entry]\nB=1\n" },
            { "another group first", "[Other]\nA=1\n[Desktop Entry]\nB=1\n",
                "[Desktop Entry]\nB=1\n[Other]\nA=1\n" },
            { "a byte order mark", "\xEF\xBB\xBF[Desktop Entry]\nA=1\n", "[Desktop Entry]\nA=1\n" },
            { "no group", "Exec=a\n", "" },
            { "only another group", "[Other]\nA=1\n", "[Other]\nA=1\n" },
        };
        for (const auto& [name, text, mended] : rows) {
            const DesktopEntry entry = DesktopEntry::parsed(text);
            QVERIFY2(entry.isDamaged(), name);
            QCOMPARE_ROW(name, entry.text(), mended);
            QVERIFY2(!mended.startsWith("[Desktop") || !DesktopEntry::parsed(mended).isDamaged(), name);
        }
    }

    void whatIsForeignIsTold()
    {
        constexpr const char* keys[] = { "Name", "Exec" };
        QVERIFY(DesktopEntry::parsed("[Desktop Entry]\nName=A\n\nExec=B\n").holdsOnly(keys));
        for (const char* foreign : { "[Desktop Entry]\nName=A\nX-Delay=1\n",
                 "# mine\n[Desktop Entry]\nName=A\n", "[Desktop Entry]\nName=A\n# mine\n",
                 "[Desktop Entry]\nName=A\n[Other]\n", "[Desktop Entry]\nName[de]=A\n" })
            QVERIFY2(!DesktopEntry::parsed(foreign).holdsOnly(keys), foreign);
    }

    void aTextIsWrittenAndReadBack()
    {
        for (const char* text :
            { "", "plain", " leading", "two\nlines", "tab\there", "back\\slash", "\\n", "\r", "ü" })
            QCOMPARE(DesktopEntry::unescaped(DesktopEntry::escaped(text)), QByteArray(text));
        QCOMPARE(DesktopEntry::escaped(" a\n\\ b"), QByteArray("\\sa\\n\\\\ b"));
        QCOMPARE(DesktopEntry::escaped("a b "), QByteArray("a b\\s"));
        QCOMPARE(DesktopEntry::unescaped("\\q\\"), QByteArray("\\q\\"));
    }

    void aCommandIsQuotedByBothRules()
    {
        QCOMPARE(DesktopEntry::command("/bin/x"), QByteArray("\"/bin/x\""));
        QCOMPARE(DesktopEntry::command("/a b"), QByteArray("\"/a b\""));
        QCOMPARE(
            DesktopEntry::command("/%f"), QByteArray(R"(/bin/sh -c "exec \\"\\$0\\" \\"\\$@\\"" "/%%f")"));
        QCOMPARE(DesktopEntry::command("/bin/x", "--now"), QByteArray("\"/bin/x\" --now"));
        QCOMPARE(DesktopEntry::command("/$"), QByteArray("\"/\\\\$\""));
        QCOMPARE(DesktopEntry::command("/\\"), QByteArray("\"/\\\\\\\\\""));
        QCOMPARE(DesktopEntry::command("/\n"), QByteArray("\"/\\n\""));
    }

    void everyPathComesBackFromItsCommand()
    {
        QRandomGenerator random(7);
        const QByteArray letters("ab \"'`$\\%\n\t=;&#~()");
        for (int round = 0; round < 2000; ++round) {
            QByteArray path("/");
            for (int i = random.bounded(12); i > 0; --i)
                path += letters[random.bounded(int(letters.size()))];
            // A shell starts a path with a percent sign.
            const QByteArray program = path.contains('%') ? QByteArray("/bin/sh") : path;
            QCOMPARE(DesktopEntry::wordsOf(DesktopEntry::command(path)).value(0, "none"), program);
        }
    }

    void commandsOfOthersAreUnderstood()
    {
        const std::pair<const char*, const char*> rows[] { { "agent", "agent" },
            { "/usr/bin/agent --quiet %U", "/usr/bin/agent" }, { "'/opt/my agent' x", "/opt/my agent" },
            { "/opt/my\\\\ agent x", "/opt/my agent" }, { "\"/opt/a\"b' c'", "/opt/ab c" },
            { "  agent", "agent" }, { "\"open", "none" }, { "", "none" }, { "\"\"", "none" },
            { "agent%f", "agent" }, { "a\\\\", "none" } };
        for (const auto& [command, program] : rows)
            QCOMPARE_ROW(command, DesktopEntry::wordsOf(command).value(0, "none"), QByteArray(program));
    }

    void anyBytesCanBeParsed()
    {
        QRandomGenerator random(11);
        const QByteArray pieces[] = { "[Desktop Entry]", "[", "]", "\n", "=", "Exec", "\"", "\\", "%",
            QByteArray(1, '\0'), "#", "\r", " ", "\xFF", "Hidden=true\n" };
        for (int round = 0; round < 3000; ++round) {
            QByteArray text;
            for (int i = random.bounded(20); i > 0; --i)
                text += pieces[random.bounded(int(std::size(pieces)))];
            DesktopEntry entry = DesktopEntry::parsed(text);
            (void)DesktopEntry::wordsOf(entry.value("Exec").value_or(text));
            entry.set("Exec", "x");
            // The written text parses again and holds the new value.
            const DesktopEntry again = DesktopEntry::parsed(entry.text());
            QVERIFY2(!again.isDamaged(), text.toPercentEncoding().constData());
            QCOMPARE(again.value("Exec").value_or("absent"), QByteArray("x"));
            QCOMPARE(again.text(), entry.text());
        }
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, DesktopEntryTest)
#include "DesktopEntryTest.moc"
