// What `cmake --install` puts into a folder works there: programs are started by their links, as users and desktops do.

#include "Platform/LoginItem/DesktopEntry.h"
#include "tests/Support/DesktopTest.h"
#include "tests/Support/FileContent.h"

#include <QDirIterator>

using namespace kestrum;

using Programs::patience;

class InstalledEndToEndTest : public DesktopTest {
    Q_OBJECT

    static QString prefix() { return TestHome::root() + text("/installed/usr"); }
    static QString program(const char* name) { return prefix() + text("/bin/") + text(name); }
    static QString agentProgram()
    {
        return prefix()
            + text("/lib/kestrum/Kestrum.app/Contents/Library/LoginItems/KestrumAgent.app/Contents/MacOS/"
                   "KestrumAgent");
    }

    static DesktopEntry entry()
    {
        return DesktopEntry::parsed(
            contentOf(prefix() + text("/share/applications/com.orvale.kestrum.desktop")));
    }

    static QByteArray ctl(const char* line, const QStringList& more = {})
    {
        return Programs::output(program("kestrumctl"), words(line) + more);
    }

    static QByteArray property(const QByteArray& window, const char* name)
    {
        return Programs::output(text("xprop"), { text("-id"), QString::fromUtf8(window), text(name) });
    }

    void furnish() override
    {
        const auto installed = Programs::run(text("cmake"),
            { text("--install"), qEnvironmentVariable("KESTRUM_BUILD"), text("--prefix"), text("/usr") },
            { { "DESTDIR", QFile::encodeName(TestHome::root() + text("/installed")) } });
        QVERIFY2(installed.code == 0, installed.errors.constData());
    }

private Q_SLOTS:
    void init()
    {
        DesktopFixture::forgetChoices();
        ctl("write agentEnabled false");
    }

    void cleanup()
    {
        const auto ended = Programs::run(program("kestrumctl"), words("agent stop"));
        QVERIFY2(ended.code == 0, ended.errors.constData());
    }

    void everyLinkLeadsToAFileBelowThePrefix()
    {
        QDirIterator files(
            prefix(), QDir::AllEntries | QDir::System | QDir::NoDotAndDotDot, QDirIterator::Subdirectories);
        int links = 0;
        while (files.hasNext()) {
            const QFileInfo file(files.next());
            if (!file.isSymLink())
                continue;
            ++links;
            QVERIFY2(!file.symLinkTarget().isEmpty() && file.exists(), qPrintable(file.filePath()));
            QVERIFY2(file.canonicalFilePath().startsWith(QFileInfo(prefix()).canonicalFilePath() + u'/'),
                qPrintable(file.filePath()));
        }
        QCOMPARE(links, 5); // three programs, the power rule, and the agent's resources
    }

    void programsFindTheirTextsAndSymbols()
    {
        const QString picture = TestHome::root() + text("/memory.png");
        ctl("write language \"de\"");
        ctl("render popover-memory -o", { picture });
        const QImage german(picture);
        QVERIFY(!german.isNull());
        ctl("write language \"en\"");
        ctl("render popover-memory -o", { picture });
        QVERIFY(QImage(picture) != german);
    }

    void theWindowIsTheDesktopEntrys()
    {
        const QByteArrayList command = DesktopEntry::wordsOf(entry().value("Exec").value_or(QByteArray()));
        QCOMPARE(command, QByteArrayList { "kestrum" });
        const auto kestrum = Programs::started(program("kestrum"), {});
        const QByteArray window = DesktopFixture::windowOf(kestrum->processId());
        QVERIFY2(!window.isEmpty(), kestrum->readAllStandardError().constData());
        QVERIFY_CONTAINS(property(window, "WM_CLASS"), '"' + entry().value("StartupWMClass").value() + '"');
        const QByteArray icon = property(window, "_NET_WM_ICON");
        for (const char* size : { "Icon (32 x 32)", "Icon (128 x 128)" })
            QVERIFY_CONTAINS(icon, size);
        Programs::end(*kestrum);
    }

    void theSwitchStartsTheInstalledAgent()
    {
        ctl("agent start");
        QTRY_COMPARE_WITH_TIMEOUT(DesktopFixture::processes(agentProgram()).size(), 1, patience);
        QCOMPARE(ctl("agents").split('\t').last().trimmed(), QFile::encodeName(agentProgram()));
        ctl("agent stop");
        QCOMPARE(DesktopFixture::processes(agentProgram()), QList<qint32>());
    }

    void theEntrysIconIsInstalledInEverySize()
    {
        const QString icons = prefix() + text("/share/icons/hicolor/");
        const QString name = QString::fromUtf8(entry().value("Icon").value_or(QByteArray()));
        for (const int size : { 16, 22, 24, 32, 48, 64, 128, 256, 512 }) {
            const QImage picture(icons + text("%1x%1/apps/%2.png").arg(size).arg(name));
            QCOMPARE(picture.size(), QSize(size, size));
            QCOMPARE(picture.pixelColor(0, 0).alpha(), 0);
            // The foot of the highest meter, which is white, and the ground below it.
            QVERIFY(picture.pixelColor(size * 3 / 4, size * 3 / 4).lightness() > 200);
            QVERIFY(picture.pixelColor(size * 3 / 4, size * 7 / 8).lightness() < 150);
        }
        QVERIFY(QFile::exists(icons + text("scalable/apps/%1.svg").arg(name)));
        QVERIFY(QFile::exists(icons + text("symbolic/apps/%1-symbolic.svg").arg(name)));
    }
};

KESTRUM_TEST_MAIN_ON_DISPLAY(InstalledEndToEndTest)

#include "InstalledEndToEndTest.moc"
