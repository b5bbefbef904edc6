// The settings application started again: by people, who want its window, and by itself, in another language.

#include "tests/DesktopStage.h"
#include "tests/OwnProcesses.h"
#include "tests/TestHome.h"
#include "tests/VirtualDisplay.h"

#include <QGuiApplication>
#include <csignal>
#include <memory>

using namespace kestrum;

namespace {

QString text(const char* utf8)
{
    return QString::fromUtf8(utf8);
}

} // namespace

class RelaunchEndToEndTest : public QObject {
    Q_OBJECT

    std::unique_ptr<DesktopStage> m_stage;
    std::unique_ptr<QProcess> m_kestrum;
    QByteArray m_window;

    /// Opens the settings, whose window then has the focus.
    void open()
    {
        m_kestrum = Programs::started(m_stage->program("Kestrum"), {});
        m_window = DesktopStage::windowOf(m_kestrum->processId());
        QVERIFY(!m_window.isEmpty());
        QTRY_COMPARE(DesktopStage::activeWindow(), m_window);
    }

    /// A further start, once it has ended.
    std::unique_ptr<QProcess> startAgain(const QStringList& arguments = {}) const
    {
        auto second = Programs::started(m_stage->program("Kestrum"), arguments);
        if (!second->waitForFinished(5000))
            qWarning("a further start does not end");
        return second;
    }

    /// The one process of the settings application once it is another than `old`; 0 when that does not come.
    qint32 successor(qint64 old) const
    {
        QList<qint32> pids;
        const bool isThere = QTest::qWaitFor(
            [&] {
                pids = m_stage->settingsApplications();
                return pids.size() == 1 && pids.first() != old;
            },
            5000);
        return isThere ? pids.first() : 0;
    }

private Q_SLOTS:
    void initTestCase()
    {
        m_stage = std::make_unique<DesktopStage>();
        QVERIFY(m_stage->isUp());
    }

    void cleanupTestCase() { m_stage.reset(); }

    void init()
    {
        m_stage->write("agentEnabled", "false");
        m_stage->write("language", "\"en\"");
        m_stage->turnToOther();
    }

    void cleanup()
    {
        if (m_kestrum)
            Programs::end(*m_kestrum);
        m_kestrum.reset();
        m_stage->endSettingsApplications();
        m_stage->endAgents();
    }

    void aSecondStartRaisesTheFirstWindowAndExitsWell()
    {
        open();
        m_stage->turnToOther();
        const auto second = startAgain();
        QCOMPARE(second->exitStatus(), QProcess::NormalExit);
        QCOMPARE(second->exitCode(), 0);
        QTRY_COMPARE(DesktopStage::activeWindow(), m_window);
        QCOMPARE(m_stage->settingsApplications(), QList<qint32> { qint32(m_kestrum->processId()) });
    }

    void aSecondStartRaisesAMinimisedWindow()
    {
        open();
        VirtualDisplay::xdotool({ text("windowminimize"), QString::fromLatin1(m_window) });
        QTRY_VERIFY(DesktopStage::activeWindow() != m_window);
        QCOMPARE(startAgain()->exitCode(), 0);
        QTRY_COMPARE(DesktopStage::activeWindow(), m_window);
    }

    void aSecondStartNeedsNoDisplay()
    {
        open();
        m_stage->turnToOther();
        const QByteArray display = qgetenv("DISPLAY");
        qputenv("DISPLAY", ":nowhere");
        const auto second = startAgain();
        qputenv("DISPLAY", display);
        QCOMPARE(second->exitCode(), 0);
        QTRY_COMPARE(DesktopStage::activeWindow(), m_window);
    }

    void aStartWhileTheFirstOneEndsIsNotLost()
    {
        for (int round = 0; round < 12; ++round) {
            open();
            VirtualDisplay::xdotool({ text("key"), text("ctrl+w") });
            QTest::qSleep(2 * round);
            const auto next = Programs::started(m_stage->program("Kestrum"), {});
            QVERIFY(m_kestrum->waitForFinished(5000));
            const QByteArray window = DesktopStage::windowOf(next->processId());
            QVERIFY2(!window.isEmpty(), next->readAllStandardError().constData());
            Programs::end(*next);
        }
    }

    void theAgentsSignalRaisesTheWindow()
    {
        open();
        m_stage->turnToOther();
        m_stage->kestrumctl({ text("post"), text("openSettings") });
        QTRY_COMPARE(DesktopStage::activeWindow(), m_window);
    }

    void anApplicationThatDoesNotAnswerIsSaid()
    {
        open();
        // It holds the place, and nobody can tell it anything.
        QVERIFY(QFile::remove(TestHome::runtimeDirectory() + text("/kestrum/Kestrum.socket")));
        const auto second = startAgain();
        QCOMPARE(second->exitStatus(), QProcess::NormalExit);
        QCOMPARE(second->exitCode(), 1);
        QVERIFY(second->readAllStandardError().contains("does not answer"));
    }

    void aRunThatOnlyLooksDisturbsNobody()
    {
        open();
        m_stage->turnToOther();
        m_stage->write("agentEnabled", "true");
        const QString legacy
            = QFile::decodeName(qgetenv("XDG_CONFIG_HOME")) + text("/autostart/com.orvale.kestrum.desktop");
        QVERIFY(QDir().mkpath(QFileInfo(legacy).path()));
        QFile entry(legacy);
        QVERIFY(entry.open(QIODevice::WriteOnly));
        entry.close();
        // The page that reads the state of the login item itself.
        m_stage->write("settingsPane", "\"general\"");
        const QStringList runs[]
            = { { text("--first-frame") }, { text("--pictures"), TestHome::root() + text("/pictures") } };
        for (const QStringList& run : runs) {
            QCOMPARE(startAgain(run)->exitCode(), 0);
            QVERIFY(QFile::exists(legacy));
        }
        QTest::qWait(300);
        QVERIFY(DesktopStage::processes(m_stage->agentProgram()).isEmpty());
        QVERIFY(DesktopStage::activeWindow() != m_window);
        QVERIFY(QFile::remove(legacy));
        m_stage->kestrumctl({ text("delete"), text("settingsPane") });
    }

    void theAgentInheritsNothingThatWasMeantForTheWindow()
    {
        m_stage->useStandInAgent();
        m_stage->write("agentEnabled", "true");
        qputenv("XDG_ACTIVATION_TOKEN", "token");
        qputenv("DESKTOP_STARTUP_ID", "token_TIME0");
        qputenv("KESTRUM_IN_BACKGROUND", "1");
        m_kestrum = Programs::started(m_stage->program("Kestrum"), {});
        for (const char* variable : { "XDG_ACTIVATION_TOKEN", "DESKTOP_STARTUP_ID", "KESTRUM_IN_BACKGROUND" })
            qunsetenv(variable);
        QTRY_COMPARE(DesktopStage::processes(m_stage->agentProgram()).size(), 1);
        QFile file(text("/proc/%1/environ").arg(DesktopStage::processes(m_stage->agentProgram()).first()));
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QByteArray environment = file.readAll();
        QVERIFY(environment.contains("HOME="));
        for (const char* variable :
            { "XDG_ACTIVATION_TOKEN=", "DESKTOP_STARTUP_ID=", "KESTRUM_IN_BACKGROUND=" })
            QVERIFY2(!environment.contains(variable), variable);
    }

    void openedInTheBackgroundTheWindowDoesNotTakeTheFocus()
    {
        m_stage->kestrumctl({ text("open"), text("-g"), m_stage->bundle() });
        const qint32 pid = successor(0);
        const QByteArray window = DesktopStage::windowOf(pid);
        QVERIFY(!window.isEmpty());
        QTest::qWait(500);
        QCOMPARE(DesktopStage::activeWindow(), m_stage->otherWindow());
        // A second start in the background leaves it there, an ordinary one brings it forward.
        m_stage->kestrumctl({ text("open"), text("-g"), m_stage->bundle() });
        QTest::qWait(300);
        QCOMPARE(DesktopStage::activeWindow(), m_stage->otherWindow());
        m_stage->kestrumctl({ text("open"), m_stage->bundle() });
        QTRY_COMPARE(DesktopStage::activeWindow(), window);
        QCOMPARE(m_stage->settingsApplications(), QList<qint32> { pid });
    }

    void openedOrdinarilyTheWindowTakesTheFocus()
    {
        m_stage->kestrumctl({ text("open"), m_stage->bundle() });
        const QByteArray window = DesktopStage::windowOf(successor(0));
        QVERIFY(!window.isEmpty());
        QTRY_COMPARE(DesktopStage::activeWindow(), window);
    }

    void anotherLanguageRelaunchesOnceWhenTheWindowIsLeft()
    {
        open();
        const qint64 old = m_kestrum->processId();
        m_stage->write("language", "\"de\"");
        QTest::qWait(500);
        QCOMPARE(m_stage->settingsApplications(), QList<qint32> { qint32(old) });
        m_stage->turnToOther();
        const qint32 next = successor(old);
        QVERIFY(next > 0);
        QCOMPARE(m_kestrum->exitStatus(), QProcess::NormalExit);
        QCOMPARE(m_kestrum->exitCode(), 0);
        const QByteArray window = DesktopStage::windowOf(next);
        QVERIFY(!window.isEmpty());
        QTest::qWait(500);
        QCOMPARE(DesktopStage::activeWindow(), m_stage->otherWindow());
        // It was started in that language, so leaving it again is no reason for another start.
        DesktopStage::turnTo(window);
        m_stage->turnToOther();
        QTest::qWait(700);
        QCOMPARE(m_stage->settingsApplications(), QList<qint32> { next });
    }

    void twoChangesGiveOneRelaunch()
    {
        open();
        const qint64 old = m_kestrum->processId();
        m_stage->write("language", "\"de\"");
        m_stage->write("language", "\"en\"");
        m_stage->write("language", "\"de\"");
        m_stage->turnToOther();
        const qint32 next = successor(old);
        QVERIFY(next > 0);
        // A second shell would open it once more, and it would come forward.
        QTest::qWait(1000);
        QCOMPARE(m_stage->settingsApplications(), QList<qint32> { next });
        QCOMPARE(DesktopStage::activeWindow(), m_stage->otherWindow());
    }

    void switchingBackStillRelaunches()
    {
        open();
        const qint64 old = m_kestrum->processId();
        m_stage->write("language", "\"de\"");
        QTest::qWait(200);
        m_stage->write("language", "\"en\"");
        QTest::qWait(200);
        m_stage->turnToOther();
        QVERIFY(successor(old) > 0);
    }

    void aChangeWhileTheWindowIsNotActiveRelaunchesAtOnce()
    {
        open();
        const qint64 old = m_kestrum->processId();
        m_stage->turnToOther();
        m_stage->write("language", "\"de\"");
        QVERIFY(successor(old) > 0);
        QTest::qWait(300);
        QCOMPARE(DesktopStage::activeWindow(), m_stage->otherWindow());
    }

    void aWindowThatIsClosedStaysClosed()
    {
        open();
        m_stage->write("language", "\"de\"");
        QTest::qWait(200);
        VirtualDisplay::xdotool({ text("key"), text("ctrl+w") });
        QVERIFY(m_kestrum->waitForFinished(5000));
        QTest::qWait(1000);
        QVERIFY(m_stage->settingsApplications().isEmpty());
    }
};

int main(int argc, char** argv)
{
    if (const auto code = OwnProcesses::enter())
        return *code;
    const TestHome home;
    const VirtualDisplay display;
    if (!display.isUp())
        return 1;
    // No bus, rather than one that the toolkit starts for every program.
    qputenv("DBUS_SESSION_BUS_ADDRESS", "disabled:");
    QGuiApplication application(argc, argv);
    RelaunchEndToEndTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "RelaunchEndToEndTest.moc"
