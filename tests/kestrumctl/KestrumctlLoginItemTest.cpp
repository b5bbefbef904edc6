#include "tests/Support/Kestrumctl.h"
#include "tests/Support/LoginItemFixture.h"

#include <QCoreApplication>
#include <unistd.h>

using namespace kestrum;

class KestrumctlLoginItemTest : public QObject {
    Q_OBJECT

    std::unique_ptr<LoginItemFixture> m_fixture;
    QString m_program;

    Programs::Ended run(const char* word, const Programs::Variables& variables = {}) const
    {
        QStringList command { m_program, QStringLiteral("login-item") };
        if (::geteuid() != 0) // in the test of root, the process is root again
            command = asOrdinaryUser(command);
        return Programs::run(command.first(), command.mid(1) + words(word), variables);
    }
    void verify(const char* word, const char* output = "") const { QCOMPARE(run(word), done(output)); }
    static QByteArray entry() { return contentOf(LoginItemFixture::entry()); }
    static void append(const QByteArray& line) { write(LoginItemFixture::entry(), entry() + line); }

private Q_SLOTS:
    void initTestCase()
    {
        // An ordinary user may have no access to the build folder, so the user runs a copy of the program.
        const QString copy = TestHome::root() + QStringLiteral("/kestrumctl");
        QVERIFY(QFile::copy(Kestrumctl::path(), copy));
        QVERIFY(QFile::setPermissions(
            copy, QFile::ReadOwner | QFile::ExeOwner | QFile::ReadOther | QFile::ExeOther));
        m_fixture = std::make_unique<LoginItemFixture>();
        // The program acts on the bundle that contains it.
        const QString folder = m_fixture->bundlePath() + QStringLiteral("/Contents/MacOS");
        QVERIFY(QDir().mkpath(folder));
        m_program = folder + QStringLiteral("/kestrumctl");
        QVERIFY(QFile::copy(copy, m_program));
    }
    void init() { LoginItemFixture::clear(); }
    void cleanupTestCase() { m_fixture.reset(); }

    void statusPrintsTheStatesName()
    {
        verify("status", "notRegistered\n");
        verify("on");
        verify("status", "enabled\n");
        append("Hidden=true\n");
        verify("status", "requiresApproval\n");
        append("TryExec=/nowhere\n");
        verify("status", "notFound\n");
        verify("on");
        verify("status", "enabled\n");
        verify("off");
        verify("status", "notRegistered\n");
    }

    void whatIsAsItShouldBeIsNoFailure()
    {
        verify("off");
        verify("on");
        verify("on");
    }

    void theEntryTellsTheAgentThatItIsALogin()
    {
        verify("on");
        QVERIFY(entry().contains("/KestrumAgent\" --login\n"));
    }

    void switchingOnAgainKeepsForeignKeys()
    {
        verify("on");
        append("X-Mine=1\nHidden=true\n");
        verify("on");
        QVERIFY(entry().contains("X-Mine=1\n"));
        verify("off");
        verify("on");
        QVERIFY(entry().contains("X-Mine=1\n"));
    }

    void suppressedItSaysWhy()
    {
        for (const char* variable : { "KESTRUM_NO_LOGIN_ITEM", "KESTRUM_UI_TESTING" }) {
            for (const char* word : { "status", "on", "off" })
                QVERIFY_FAILED(
                    run(word, { { variable, "1" } }), 1, "Login items are disabled in this build.");
            QCOMPARE(run("status", { { variable, "true" } }).code, 0);
        }
        QVERIFY(!QFile::exists(LoginItemFixture::folder()));
    }

    void aFailureNamesTheThingAndTheReason()
    {
        QVERIFY(QDir().mkpath(LoginItemFixture::folder()));
        QFile::setPermissions(LoginItemFixture::folder(), QFile::ReadOwner | QFile::ExeOwner);
        const auto result = run("on");
        QVERIFY_FAILED(result, 1, QFile::encodeName(LoginItemFixture::folder()));
        QVERIFY_CONTAINS(result.errors, qt_error_string(EACCES).toUtf8());
    }

    void noPathForgesALine()
    {
        const QString home = TestHome::root() + QStringLiteral("/.config/a\nkestrumctl: forged\x1B[2J");
        write(home + QStringLiteral("/autostart"), "a file where the folder should be");
        const auto result = run("on", { { "XDG_CONFIG_HOME", home.toUtf8() } });
        QVERIFY(QDir(home).removeRecursively());
        QVERIFY_FAILED(result, 1, "/a\\nkestrumctl: forged\\x1b[2J/autostart");
        QCOMPARE(result.errors.count('\n'), 1);
    }

    void aCopyWithoutAnAgentSaysSo()
    {
        const QString away = m_fixture->agentBundle() + QStringLiteral("-away");
        QVERIFY(QFile::rename(m_fixture->agentBundle(), away));
        const auto result = run("on");
        QVERIFY(QFile::rename(away, m_fixture->agentBundle()));
        QVERIFY_FAILED(result, 1, "This copy of Kestrum is incomplete.");
    }

    void anotherWordIsWrongUse()
    {
        QVERIFY_FAILED(run("enable"), 2, "\"enable\"");
        QCOMPARE(run("").code, 2);
    }

    void rootIsRefused()
    {
        if (::getuid() != 0)
            QSKIP("only root can be root");
        QCOMPARE(::seteuid(0), 0);
        const auto result = run("on");
        QCOMPARE(::seteuid(65534), 0);
        QVERIFY_FAILED(result, 1, "No login item is registered for root.");
        QVERIFY(!QFile::exists(LoginItemFixture::folder()));
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, KestrumctlLoginItemTest)
#include "KestrumctlLoginItemTest.moc"
