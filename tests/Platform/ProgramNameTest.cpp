#include "Platform/Machine/ProgramName.h"
#include "tests/Support/Rows.h"
#include "tests/Support/TestHome.h"

using namespace kestrum;

class ProgramNameTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void scriptIsTheFirstWordThatIsNoOption()
    {
        const struct {
            const char* command;
            QByteArray script;
        } rows[] {
            { "python3 /usr/bin/virt-manager --debug", "virt-manager" },
            { "python3 -u -W ignore tool.py", "tool.py" },
            { "python3 -m http.server 80", "http.server" },
            { "python3 -c import", "" },
            { "perl -lane print", "" },
            { "bash ./configure --prefix=/usr", "configure" },
            { "bash -lc make", "" },
            { "sh -ceu make", "" },
            { "/bin/sh -e ./install", "install" },
            { "sh -xe build.sh", "build.sh" },
            { "bash -e", "" },
            { "bash +e x.sh", "x.sh" },
            { "bash -euo pipefail x.sh", "x.sh" },
            { "bash -o pipefail -O extglob x.sh", "x.sh" },
            { "bash -euo pipefail -c make", "" },
            { "bash -o", "" },
            { "-bash", "" },
            { "java -Xmx1g -cp a.jar:b.jar org.foo.Main", "org.foo.Main" },
            { "java --module-path lib -p lib --add-modules a.b -classpath a.jar Main", "Main" },
            { "java --add-opens a/b=c --add-exports a/b=c -m app/org.foo.Main", "org.foo.Main" },
            { "java -jar /opt/app/app.jar", "app.jar" },
            { "ruby -I lib -r json tool.rb", "tool.rb" },
            { "ruby -p tool.rb", "tool.rb" },
            { "perl5.36 -I lib tool.pl", "tool.pl" },
            { "node -r dotenv/config --require ./hook.js server.js", "server.js" },
            { "python3.11 -X dev -I tool.py", "tool.py" },
            { "php8.2 -d memory_limit=-1 composer install", "composer" },
            { "php -S localhost:8000 -t web", "" },
            { "php -r phpinfo", "" },
            { "lua5.4 -l socket x.lua", "x.lua" },
            { "gjs -I lib x.js", "x.js" },
            { "perl -E say", "" },
            { "perl -0777ne print", "" },
            { "node -p process", "" },
            { "node --eval process", "" },
            { "bash /dev/fd/63", "" },
            { "sh /proc/self/fd/3", "" },
            { "gjs", "" },
            { "", "" },
        };
        for (const auto& row : rows) {
            const QByteArrayList words = QByteArray(row.command).split(' ');
            QCOMPARE_ROW(
                row.command, ProgramName::script(ProgramName::base(words.first()), words), row.script);
        }
        QCOMPARE(ProgramName::script("bash", {}), QByteArray());
    }

    void versionedInterpretersAreKnown()
    {
        for (const char* name :
            { "python3.11", "python3", "perl", "perl5.36", "lua5.4", "gjs-console", "bash", "dash" })
            QVERIFY2(ProgramName::isInterpreter(name), name);
        for (const char* name : { "pythonic", "javac", "make", "3", "" })
            QVERIFY2(!ProgramName::isInterpreter(name), name);
    }

    void commandOfAnEntryNamesTheProgramThatItStartsInTheEnd()
    {
        const struct {
            const char* command;
            QByteArray program;
        } rows[] {
            { "/usr/lib/firefox-esr/firefox-esr", "firefox-esr" },
            { "env BAMF_DESKTOP_FILE_HINT=/x.desktop /snap/bin/firefox", "firefox" },
            { "/usr/bin/env -u A B=1 python3 /usr/bin/meld", "meld" },
            { "/usr/bin/flatpak run --branch=stable --command=gimp-2.10 org.gimp.GIMP", "gimp-2.10" },
            { "flatpak run org.gimp.GIMP", "org.gimp.GIMP" },
            { "flatpak", "" },
            { "sh -c start", "" },
            { "sh -e /opt/app/start", "start" },
            { "pkexec /usr/sbin/gparted", "gparted" },
            { "env A=1", "" },
            { "env", "" },
        };
        for (const auto& row : rows)
            QCOMPARE_ROW(
                row.command, ProgramName::ofCommand(QByteArray(row.command).split(' ')), row.program);
        QCOMPARE(ProgramName::ofCommand({}), QByteArray());
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, ProgramNameTest)
#include "ProgramNameTest.moc"
