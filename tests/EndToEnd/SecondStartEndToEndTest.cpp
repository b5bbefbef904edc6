// A person starts the settings application a second time and expects its window.

#include "tests/Support/SettingsAppTest.h"

using namespace kestrum;

using Programs::patience;

class SecondStartEndToEndTest : public SettingsAppTest {
    Q_OBJECT

    /// Starts the application once more, and waits for the end of that process.
    Programs::Ended startAgain(const QStringList& arguments = {}) const
    {
        return Programs::run(fixture().program("Kestrum"), arguments);
    }

private Q_SLOTS:
    void aSecondStartRaisesTheFirstWindowAndExitsWell()
    {
        open();
        fixture().turnToOther();
        QCOMPARE(startAgain().code, 0);
        QTRY_VERIFY_WITH_TIMEOUT(m_window->isActive(), patience);
        QCOMPARE(fixture().settingsApplications(), QList<qint32> { m_window->pid() });
    }

    void aSecondStartRaisesAMinimisedWindow()
    {
        open();
        VirtualDisplay::xdotool("windowminimize " + m_window->id());
        QTRY_VERIFY_WITH_TIMEOUT(!m_window->isActive(), patience);
        QCOMPARE(startAgain().code, 0);
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
        QCOMPARE(second.code, 0);
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
        fixture().kestrumctl("post openSettings");
        QTRY_VERIFY_WITH_TIMEOUT(m_window->isActive(), patience);
    }

    void anApplicationThatDoesNotAnswerIsSaid()
    {
        open();
        // The first process still holds the name, but cannot be reached without its socket.
        QVERIFY(QFile::remove(TestHome::runtimeDirectory() + text("/kestrum/Kestrum.socket")));
        const auto second = startAgain();
        QCOMPARE(second.code, 1);
        QVERIFY_CONTAINS(second.errors, "does not answer");
    }

    void aRunThatOnlyLooksDisturbsNobody()
    {
        open();
        fixture().turnToOther();
        fixture().write("agentEnabled", "true");
        const QString legacy
            = QFile::decodeName(qgetenv("XDG_CONFIG_HOME")) + text("/autostart/com.orvale.kestrum.desktop");
        write(legacy, {});
        // When this page is shown, it reads the state of the login item.
        fixture().write("settingsPane", "\"general\"");
        const QStringList runs[]
            = { words("--first-frame"), { text("--pictures"), TestHome::root() + text("/pictures") } };
        for (const QStringList& run : runs) {
            QCOMPARE(startAgain(run).code, 0);
            QVERIFY(QFile::exists(legacy));
        }
        QTest::qWait(300);
        QVERIFY(agents().isEmpty());
        QVERIFY(!m_window->isActive());
        QVERIFY(QFile::remove(legacy));
        fixture().kestrumctl("delete settingsPane");
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
        // A program that only begins has none yet.
        QByteArray environment;
        QTRY_VERIFY((environment = DesktopFixture::environmentOf(agents().value(0))).contains("HOME="));
        for (const char* variable :
            { "XDG_ACTIVATION_TOKEN=", "DESKTOP_STARTUP_ID=", "KESTRUM_IN_BACKGROUND=" })
            QVERIFY2(!environment.contains(variable), variable);
        Programs::end(*kestrum);
    }

    void openedInTheBackgroundTheWindowDoesNotTakeTheFocus()
    {
        fixture().kestrumctl("open -g", { fixture().bundle() });
        const qint32 pid = fixture().settingsApplicationAfter(0);
        const QByteArray window = DesktopFixture::windowOf(pid);
        QVERIFY(!window.isEmpty());
        QTest::qWait(500);
        QVERIFY(fixture().isOtherActive());
        // A second start in the background does not raise the window. An ordinary second start raises it.
        fixture().kestrumctl("open -g", { fixture().bundle() });
        QTest::qWait(300);
        QVERIFY(fixture().isOtherActive());
        fixture().kestrumctl("open", { fixture().bundle() });
        QTRY_COMPARE_WITH_TIMEOUT(DesktopFixture::activeWindow(), window, patience);
        // The second process only makes this request and ends by itself.
        QTRY_COMPARE_WITH_TIMEOUT(fixture().settingsApplications(), QList<qint32> { pid }, patience);
    }

    void openedOrdinarilyTheWindowTakesTheFocus()
    {
        fixture().kestrumctl("open", { fixture().bundle() });
        const QByteArray window = DesktopFixture::windowOf(fixture().settingsApplicationAfter(0));
        QVERIFY(!window.isEmpty());
        QTRY_COMPARE_WITH_TIMEOUT(DesktopFixture::activeWindow(), window, patience);
    }
};

KESTRUM_TEST_MAIN_ON_DISPLAY(SecondStartEndToEndTest)
#include "SecondStartEndToEndTest.moc"
