// The built agent while packages replace and remove its program.

#include "Kestrum/Agent/AgentController.h"
#include "KestrumShared/Agent/ProcessScan.h"
#include "Platform/Bundle/Bundle.h"
#include "Platform/Processes/ProcessTable.h"
#include "tests/Support/FileContent.h"
#include "tests/Support/PopoverTest.h"

#include <QScopeGuard>
#include <QTimer>
#include <sys/stat.h>

using namespace kestrum;

using Programs::patience;

class AgentUpgradeEndToEndTest : public PopoverTest {
    Q_OBJECT

    /// Puts a file into the place of the agent's program, in one step, as a package manager does.
    void replaceProgram(const QByteArray& content) const
    {
        const QString path = fixture().agentProgram();
        const QString other = path + text(".new");
        QFile file(other);
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write(content);
        file.close();
        QVERIFY(file.setPermissions(QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
        QCOMPARE(::rename(QFile::encodeName(other).constData(), QFile::encodeName(path).constData()), 0);
    }

    /// The built program, with one byte more, which nothing reads.
    QByteArray newerProgram() const { return contentOf(fixture().agentProgram()) + '\0'; }

    bool runsInstalledProgram() const
    {
        struct stat running { };
        struct stat installed { };
        return ::stat(QByteArray("/proc/" + QByteArray::number(agent().processId()) + "/exe").constData(),
                   &running)
            == 0
            && ::stat(QFile::encodeName(fixture().agentProgram()).constData(), &installed) == 0
            && running.st_dev == installed.st_dev && running.st_ino == installed.st_ino;
    }

    /// Replaces the program by a newer one, and waits until it goes on.
    void upgrade() const
    {
        replaceProgram(newerProgram());
        QVERIFY(!runsInstalledProgram());
        QTRY_VERIFY_WITH_TIMEOUT(runsInstalledProgram(), patience);
        waitForStrip();
    }

    /// Replaces the program by one that begins late: before it does, kestrumctl is run with the words of `line`.
    void replaceByLateProgram(const QByteArray& line) const
    {
        const QString kept = fixture().agentProgram() + text(".kept");
        QVERIFY(QFile::copy(fixture().agentProgram(), kept));
        replaceProgram("#!/bin/sh\n[ \"$1\" != --version ] || exit 0\n'"
            + QFile::encodeName(fixture().program("kestrumctl")) + "' " + line + "\nexec '"
            + QFile::encodeName(kept) + "' \"$@\"\n");
    }

    bool runsOnlyOnce() const
    {
        const QByteArray agents = fixture().kestrumctl("agents").trimmed();
        return agents.startsWith(QByteArray::number(agent().processId()) + '\t') && !agents.contains('\n');
    }

private Q_SLOTS:
    void theNewProgramGoesOnInTheSameProcess()
    {
        const auto restore = qScopeGuard([this] { fixture().useBuiltAgent(); });
        QVERIFY(runsInstalledProgram());
        fixture().write("meterStyle", "\"wave\"");
        fixture().kestrumctl("popover cpu");
        QVERIFY(!opened("CPU").isEmpty());
        replaceProgram(newerProgram());
        QVERIFY(!runsInstalledProgram());
        QTRY_VERIFY_WITH_TIMEOUT(runsInstalledProgram(), patience);
        waitForStrip();
        QVERIFY(runsOnlyOnce());
        QCOMPARE(fixture().read("meterStyle"), QByteArray("\"wave\""));
        // What the program before was asked for is not done again.
        QTest::qWait(1000);
        QCOMPARE(windows(), QByteArrayList());
        fixture().kestrumctl("popover memory");
        QVERIFY(!opened("Memory").isEmpty());
        fixture().kestrumctl("agent stop");
        QCOMPARE(Programs::ended(agent()).code, 0);
    }

    void aWindowThatItOpenedStillStartsItselfAnewInAnotherLanguage()
    {
        const auto restore = qScopeGuard([this] {
            fixture().endSettingsApplications();
            fixture().useBuiltAgent();
        });
        fixture().write("language", "\"en\"");
        // The settings are the menu's first entry.
        DesktopFixture::moveTo(place("cpu"));
        VirtualDisplay::xdotool("click 3");
        QTest::qWait(300);
        VirtualDisplay::xdotool("key", { text("Down"), text("Return") });
        QTRY_COMPARE_WITH_TIMEOUT(fixture().settingsApplications().size(), 1, patience);
        const qint32 window = fixture().settingsApplications().first();
        QVERIFY(!DesktopFixture::windowOf(window).isEmpty());
        const qint32 self = qint32(agent().processId());
        QCOMPARE(ProcessTable().parent(window), std::optional(self));
        upgrade();
        QCOMPARE(ProcessTable().parent(window), std::optional(self));
        fixture().turnToOther();
        fixture().write("language", "\"de\"");
        const qint32 next = fixture().settingsApplicationAfter(window);
        QVERIFY(next > 0);
        QVERIFY(!DesktopFixture::windowOf(next).isEmpty());
        QTRY_COMPARE_WITH_TIMEOUT(ProcessTable().children(self), QList<qint32>(), patience);
    }

    void whoeverWatchesItSeesOneAgentThatGoesOn()
    {
        const auto restore = qScopeGuard([this] { fixture().useBuiltAgent(); });
        const Bundle before = Bundle::main();
        Bundle::setMain(Bundle(fixture().bundle()));
        const auto restoreBundle = qScopeGuard([&before] { Bundle::setMain(before); });
        AgentController controller;
        QVERIFY(controller.isRunning());
        int looks = 0;
        bool isAlwaysOne = true;
        const auto look = [&] {
            ++looks;
            const auto agents = ProcessScan::agents();
            isAlwaysOne &= controller.isRunning() && agents.size() == 1
                && agents.first().pid == qint32(agent().processId());
        };
        // The trial of the new program opens its file, so the controller looks during it.
        connect(&controller, &AgentController::isRunningChanged, &controller, look);
        QTimer often;
        connect(&often, &QTimer::timeout, &controller, look);
        often.start(2);
        upgrade();
        QTest::qWait(1200); // until the controller's second look
        QVERIFY(looks > 100);
        QVERIFY(isAlwaysOne);
    }

    void whatIsAskedBetweenTheTwoIsDone()
    {
        const auto restore = qScopeGuard([this] { fixture().useBuiltAgent(); });
        fixture().write("agentEnabled", "true");
        replaceByLateProgram("post quitAgent");
        const auto end = Programs::ended(agent());
        QCOMPARE(end.code, 0);
        QVERIFY_CONTAINS(end.errors, "it was asked to quit as it began");
    }

    void aProgramThatIsSwitchedOffMeanwhileEnds()
    {
        const auto restore = qScopeGuard([this] { fixture().useBuiltAgent(); });
        fixture().write("agentEnabled", "true");
        replaceByLateProgram("write agentEnabled false");
        const auto end = Programs::ended(agent());
        QCOMPARE(end.code, 0);
        QVERIFY_CONTAINS(end.errors, "it is switched off");
    }

    void whatCannotRunIsNotRun()
    {
        const auto restore = qScopeGuard([this] { fixture().useBuiltAgent(); });
        const QByteArray newer = newerProgram();
        replaceProgram("#!/bin/sh\ntouch \"$0.tried\"\nexit 1\n");
        QTRY_VERIFY_WITH_TIMEOUT(QFile::exists(fixture().agentProgram() + text(".tried")), patience);
        QTest::qWait(1000);
        QVERIFY(runsOnlyOnce());
        QVERIFY(!runsInstalledProgram());
        waitForStrip();

        replaceProgram(newer);
        QTRY_VERIFY_WITH_TIMEOUT(runsInstalledProgram(), patience);
        waitForStrip();
    }

    void itEndsWithoutItsProgram()
    {
        const auto restore = qScopeGuard([this] { fixture().useBuiltAgent(); });
        fixture().removeAgent();
        const auto end = Programs::ended(agent());
        QCOMPARE(end.code, 0);
        QVERIFY_CONTAINS(end.errors, "its program was removed");
        QCOMPARE(fixture().read("agentEnabled"), QByteArray("true"));
    }
};

KESTRUM_TEST_MAIN_ON_DISPLAY(AgentUpgradeEndToEndTest)

#include "AgentUpgradeEndToEndTest.moc"
