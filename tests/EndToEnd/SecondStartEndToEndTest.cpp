// People start the settings application a second time and expect its window.

#include "tests/Support/SettingsAppTest.h"
#include "tests/Support/Text.h"

using namespace kestrum;

using Programs::patience;

class SecondStartEndToEndTest : public SettingsAppTest {
    Q_OBJECT

    /// Starts the application once more, and waits for the end of that process.
    std::unique_ptr<QProcess> startAgain(const QStringList& arguments = {}) const
    {
        auto second = Programs::started(fixture().program("Kestrum"), arguments);
        if (!second->waitForFinished(patience))
            qWarning("a further start does not end");
        return second;
    }

private Q_SLOTS:
    void aSecondStartRaisesTheFirstWindowAndExitsWell()
    {
        open();
        fixture().turnToOther();
        const auto second = startAgain();
        QCOMPARE(second->exitStatus(), QProcess::NormalExit);
        QCOMPARE(second->exitCode(), 0);
        QTRY_VERIFY_WITH_TIMEOUT(m_window->isActive(), patience);
        QCOMPARE(fixture().settingsApplications(), QList<qint32> { m_window->pid() });
    }

    void aSecondStartRaisesAMinimisedWindow()
    {
        open();
        VirtualDisplay::xdotool({ text("windowminimize"), QString::fromLatin1(m_window->id()) });
        QTRY_VERIFY_WITH_TIMEOUT(!m_window->isActive(), patience);
        QCOMPARE(startAgain()->exitCode(), 0);
        QTRY_VERIFY_WITH_TIMEOUT(m_window->isActive(), patience);
    }

    void aSecondStartNeedsNoDisplay()
    {
        open();
        fixture().turnToOther();
        const QByteArray display = qgetenv("DISPLAY");
        qputenv("DISPLAY", ":nowhere");
        const auto second = startAgain();
        qputenv("DISPLAY", display);
        QCOMPARE(second->exitCode(), 0);
        QTRY_VERIFY_WITH_TIMEOUT(m_window->isActive(), patience);
    }

    void aStartWhileTheFirstOneEndsIsNotLost()
    {
        for (int round = 0; round < 6; ++round) {
            open();
            m_window->close();
            QTest::qSleep(4 * round);
            const auto next = Programs::started(fixture().program("Kestrum"), {});
            QVERIFY(m_window->hasEnded());
            QVERIFY2(!DesktopFixture::windowOf(next->processId()).isEmpty(),
                next->readAllStandardError().constData());
            Programs::end(*next);
        }
    }

    void theAgentsSignalRaisesTheWindow()
    {
        open();
        fixture().turnToOther();
        fixture().kestrumctl({ text("post"), text("openSettings") });
        QTRY_VERIFY_WITH_TIMEOUT(m_window->isActive(), patience);
    }

    void anApplicationThatDoesNotAnswerIsSaid()
    {
        open();
        // The first process still holds the name, but cannot be reached without its socket.
        QVERIFY(QFile::remove(TestHome::runtimeDirectory() + text("/kestrum/Kestrum.socket")));
        const auto second = startAgain();
        QCOMPARE(second->exitStatus(), QProcess::NormalExit);
        QCOMPARE(second->exitCode(), 1);
        QVERIFY(second->readAllStandardError().contains("does not answer"));
    }

    void aRunThatOnlyLooksDisturbsNobody()
    {
        open();
        fixture().turnToOther();
        fixture().write("agentEnabled", "true");
        const QString legacy
            = QFile::decodeName(qgetenv("XDG_CONFIG_HOME")) + text("/autostart/com.orvale.kestrum.desktop");
        QVERIFY(QDir().mkpath(QFileInfo(legacy).path()));
        QFile entry(legacy);
        QVERIFY(entry.open(QIODevice::WriteOnly));
        entry.close();
        // This page reads the state of the login item when it is shown.
        fixture().write("settingsPane", "\"general\"");
        const QStringList runs[]
            = { { text("--first-frame") }, { text("--pictures"), TestHome::root() + text("/pictures") } };
        for (const QStringList& run : runs) {
            QCOMPARE(startAgain(run)->exitCode(), 0);
            QVERIFY(QFile::exists(legacy));
        }
        QTest::qWait(300);
        QVERIFY(agents().isEmpty());
        QVERIFY(!m_window->isActive());
        QVERIFY(QFile::remove(legacy));
        fixture().kestrumctl({ text("delete"), text("settingsPane") });
    }

    void theAgentInheritsNothingThatWasMeantForTheWindow()
    {
        fixture().useStandInAgent();
        fixture().write("agentEnabled", "true");
        qputenv("XDG_ACTIVATION_TOKEN", "token");
        qputenv("DESKTOP_STARTUP_ID", "token_TIME0");
        qputenv("KESTRUM_IN_BACKGROUND", "1");
        const auto kestrum = Programs::started(fixture().program("Kestrum"), {});
        for (const char* variable : { "XDG_ACTIVATION_TOKEN", "DESKTOP_STARTUP_ID", "KESTRUM_IN_BACKGROUND" })
            qunsetenv(variable);
        QTRY_COMPARE_WITH_TIMEOUT(agents().size(), 1, patience);
        QFile file(text("/proc/%1/environ").arg(agents().first()));
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QByteArray environment = file.readAll();
        QVERIFY(environment.contains("HOME="));
        for (const char* variable :
            { "XDG_ACTIVATION_TOKEN=", "DESKTOP_STARTUP_ID=", "KESTRUM_IN_BACKGROUND=" })
            QVERIFY2(!environment.contains(variable), variable);
        Programs::end(*kestrum);
    }

    void openedInTheBackgroundTheWindowDoesNotTakeTheFocus()
    {
        fixture().kestrumctl({ text("open"), text("-g"), fixture().bundle() });
        const qint32 pid = fixture().settingsApplicationAfter(0);
        const QByteArray window = DesktopFixture::windowOf(pid);
        QVERIFY(!window.isEmpty());
        QTest::qWait(500);
        QCOMPARE(DesktopFixture::activeWindow(), fixture().otherWindow());
        // A second start in the background leaves the window there; an ordinary one raises it.
        fixture().kestrumctl({ text("open"), text("-g"), fixture().bundle() });
        QTest::qWait(300);
        QCOMPARE(DesktopFixture::activeWindow(), fixture().otherWindow());
        fixture().kestrumctl({ text("open"), fixture().bundle() });
        QTRY_COMPARE_WITH_TIMEOUT(DesktopFixture::activeWindow(), window, patience);
        // The start that only asked for that ends by itself.
        QTRY_COMPARE_WITH_TIMEOUT(fixture().settingsApplications(), QList<qint32> { pid }, patience);
    }

    void openedOrdinarilyTheWindowTakesTheFocus()
    {
        fixture().kestrumctl({ text("open"), fixture().bundle() });
        const QByteArray window = DesktopFixture::windowOf(fixture().settingsApplicationAfter(0));
        QVERIFY(!window.isEmpty());
        QTRY_COMPARE_WITH_TIMEOUT(DesktopFixture::activeWindow(), window, patience);
    }
};

KESTRUM_TEST_MAIN_ON_DISPLAY(SecondStartEndToEndTest)
#include "SecondStartEndToEndTest.moc"
