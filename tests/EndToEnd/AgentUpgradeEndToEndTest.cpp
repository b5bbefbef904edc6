// The built agent while packages replace and remove its program.

#include "tests/Support/FileContent.h"
#include "tests/Support/PopoverTest.h"

#include <QScopeGuard>
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
