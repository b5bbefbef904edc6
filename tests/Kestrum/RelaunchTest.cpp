#include "Kestrum/Relaunch.h"
#include "Platform/Bundle/Bundle.h"
#include "tests/Support/FileContent.h"
#include "tests/Support/FileTree.h"
#include "tests/Support/Rows.h"
#include "tests/Support/StandIns.h"
#include "tests/Support/TestHome.h"
#include "tests/Support/ToldFocus.h"

#include <QElapsedTimer>
#include <QGuiApplication>
#include <QRasterWindow>
#include <memory>
#include <unistd.h>

using namespace kestrum;

class RelaunchTest : public QObject {
    Q_OBJECT

    QStringList m_commands;
    int m_quits = 0;
    std::unique_ptr<Relaunch> m_relaunch;

    static bool isActive() { return QGuiApplication::applicationState() == Qt::ApplicationActive; }

    /// The application's window, which has the focus.
    struct Window {
        QRasterWindow main;

        Window()
        {
            main.show();
            activate();
        }
        ~Window() { deactivate(); }
        Q_DISABLE_COPY_MOVE(Window)

        void activate() { setFocus(&main); }
        /// Moves the focus to another program's window.
        static void deactivate() { setFocus(nullptr); }

    private:
        // Reports the focus change as the platform does.
        static void setFocus(QWindow* window)
        {
            tellOfFocus(window);
            QCOMPARE(isActive(), window != nullptr);
        }
    };

    /// Makes a bundle whose opener writes its arguments, one on each line, to the file "report" beside the bundle.
    static void installOpener(const FileTree& tree, const QString& bundle)
    {
        const QString opener = bundle + QStringLiteral("/Contents/MacOS/kestrumctl");
        const QByteArray report = QFile::encodeName(tree.path(QStringLiteral("report")));
        tree.write(opener,
            "#!/bin/sh\nprintf '%s\\n' \"$@\" > '" + report + ".new'; mv '" + report + ".new' '" + report
                + "'\n");
        QVERIFY(QFile::setPermissions(tree.path(opener), QFileDevice::ReadOwner | QFileDevice::ExeOwner));
    }

private Q_SLOTS:
    void init()
    {
        m_commands.clear();
        m_quits = 0;
        m_relaunch = std::make_unique<Relaunch>(Relaunch::Actions {
            [this](const QString& command) { m_commands.append(command); }, [this] { ++m_quits; } });
        Bundle::setMain(Bundle(QStringLiteral("/opt/Two Words/Kestrum.app")));
    }

    void theCommandIsExactlyThatLine()
    {
        QCOMPARE(Relaunch::command(4711, QStringLiteral("/opt/Two Words/Kestrum.app")),
            QStringLiteral("while kill -0 4711 2>/dev/null; do sleep 0.1; done; "
                           "\"/opt/Two Words/Kestrum.app/Contents/MacOS/kestrumctl\" open -g "
                           "\"/opt/Two Words/Kestrum.app\""));
    }

    void thePathIsNotEscapedAndPlaceholdersInItStay()
    {
        QVERIFY(Relaunch::command(1, QStringLiteral("/a'%1 *;&|b/K.app"))
                    .endsWith(QStringLiteral("\"/a'%1 *;&|b/K.app\"")));
    }

    void anInactiveApplicationIsRelaunchedAtOnce()
    {
        QVERIFY(!isActive());
        m_relaunch->whenInactive();
        QCOMPARE(m_commands,
            QStringList { Relaunch::command(::getpid(), QStringLiteral("/opt/Two Words/Kestrum.app")) });
        QCOMPARE(m_quits, 1);
    }

    void anActiveApplicationIsRelaunchedOnceItIsLeft()
    {
        Window window;
        m_relaunch->whenInactive();
        QTest::qWait(50);
        QCOMPARE(m_commands.size(), 0);
        QCOMPARE(m_quits, 0);
        window.deactivate();
        QCOMPARE(m_commands.size(), 1);
        QCOMPARE(m_quits, 1);
    }

    void twoRequestsGiveOneRelaunch()
    {
        Window window;
        m_relaunch->whenInactive();
        m_relaunch->whenInactive();
        window.deactivate();
        QCOMPARE(m_commands.size(), 1);
        QCOMPARE(m_quits, 1);
    }

    void nothingFollowsARelaunch()
    {
        // The application takes a while to end. Meanwhile it may get more requests and change its focus.
        m_relaunch->whenInactive();
        m_relaunch->whenInactive();
        Window window;
        m_relaunch->whenInactive();
        window.deactivate();
        window.activate();
        window.deactivate();
        QCOMPARE(m_commands.size(), 1);
        QCOMPARE(m_quits, 1);
    }

    void closingTheLastWindowIsNoReasonToComeBack()
    {
        Window window;
        m_relaunch->whenInactive();
        // When a widget's window is closed, the window is hidden before the focus leaves.
        window.main.hide();
        window.deactivate();
        QCOMPARE(m_commands.size(), 0);
        m_relaunch->whenInactive(); // another change meanwhile
        QCOMPARE(m_commands.size(), 0);
    }

    void theShellWaitsForTheEndAndThenOpensTheBundleInTheBackground()
    {
        const FileTree tree;
        const QString bundle = QStringLiteral("Two Words/Kestrum.app");
        installOpener(tree, bundle);
        StandIns programs;
        const auto process = programs.start(programs.install(QStringLiteral("program")));
        QVERIFY(process.pid > 0);
        Relaunch::Actions::real().startShell(Relaunch::command(process.pid, tree.path(bundle)));
        QTest::qWait(500);
        QVERIFY(!QFile::exists(tree.path(QStringLiteral("report"))));
        QElapsedTimer clock;
        clock.start();
        programs.end(process.pid);
        QTRY_VERIFY(QFile::exists(tree.path(QStringLiteral("report"))));
        QCOMPARE_LT(clock.elapsed(), 1000);
        QCOMPARE(contentOf(tree.path(QStringLiteral("report"))),
            "open\n-g\n" + QFile::encodeName(tree.path(bundle)) + '\n');
    }

    void whereTheCommandCannotCarryThePathTheApplicationStays_data()
    {
        addRows<QByteArray>(
            { { "a substitution", "a$(touch report)" }, { "an older substitution", "a`touch report`" },
                { "a variable", "a$HOME" }, { "a closing quote", "a\"; touch report; \"" },
                { "a backslash", "a\\" }, { "a line end", "a\nb" }, { "no text", "a\xFF" } });
    }
    void whereTheCommandCannotCarryThePathTheApplicationStays()
    {
        const auto [folder] = thisRow<QByteArray>();
        Bundle::setMain(Bundle(QFile::decodeName("/opt/" + folder + "/Kestrum.app")));
        static QStringList warnings;
        warnings.clear();
        const auto before
            = qInstallMessageHandler([](QtMsgType type, const QMessageLogContext&, const QString& text) {
                  if (type == QtWarningMsg)
                      warnings.append(text);
              });
        // First the application is inactive, then it becomes inactive: each is an occasion for a relaunch.
        m_relaunch->whenInactive();
        {
            Window window;
            m_relaunch->whenInactive();
            window.deactivate();
        }
        qInstallMessageHandler(before);
        QCOMPARE(m_commands, QStringList());
        QCOMPARE(m_quits, 0);
        QCOMPARE(warnings.size(), 1);
        QVERIFY2(warnings.first().contains(QStringLiteral("/Kestrum.app"))
                && warnings.first().contains(QStringLiteral("not started anew")),
            qPrintable(warnings.first()));
    }

    void everyOtherPathIsCarriedWhole()
    {
        const FileTree tree;
        const QString bundle = QStringLiteral("a 'b' #c !d *e ~f {g} (h) ;i &j |k <l> %1 \u00e4/Kestrum.app");
        QVERIFY(Relaunch::canCarry(tree.path(bundle)));
        installOpener(tree, bundle);
        StandIns programs;
        const auto process = programs.start(programs.install(QStringLiteral("program")));
        programs.end(process.pid);
        Relaunch::Actions::real().startShell(Relaunch::command(process.pid, tree.path(bundle)));
        QTRY_VERIFY(QFile::exists(tree.path(QStringLiteral("report"))));
        QCOMPARE(contentOf(tree.path(QStringLiteral("report"))),
            "open\n-g\n" + QFile::encodeName(tree.path(bundle)) + '\n');
    }

    void theShellIsApartFromUs()
    {
        const FileTree tree;
        const QString report = tree.path(QStringLiteral("report"));
        QFile kept(tree.path(QStringLiteral("kept")));
        QVERIFY(kept.open(QIODevice::WriteOnly));
        // dup() does not set the close-on-exec flag.
        const int inherited = ::dup(kept.handle());
        QVERIFY(inherited > 2);
        Relaunch::Actions::real().startShell(
            QStringLiteral("{ echo $$; cut -d' ' -f6 /proc/$$/stat; ls -m -w 0 /proc/$$/fd; } > '%1.new'; "
                           "mv '%1.new' '%1'")
                .arg(report));
        QTRY_VERIFY(QFile::exists(report));
        ::close(inherited);
        const QByteArrayList lines = contentOf(report).trimmed().split('\n');
        QCOMPARE(lines.size(), 3);
        QCOMPARE(lines[1], lines[0]);
        // Descriptors from 10 on are the shell's own copies of the streams that it redirects.
        for (const QByteArray& descriptor : lines[2].split(','))
            QVERIFY2(descriptor.toInt() <= 2 || descriptor.toInt() >= 10, lines[2].constData());
    }
};

KESTRUM_TEST_MAIN(QGuiApplication, RelaunchTest)
#include "RelaunchTest.moc"
