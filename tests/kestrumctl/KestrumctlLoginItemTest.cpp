#include "tests/Support/Kestrumctl.h"
#include "tests/Support/LoginItemFixture.h"

#include <QCoreApplication>
#include <QTest>
#include <unistd.h>

using namespace kestrum;

class KestrumctlLoginItemTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        // An ordinary user may have no access to the build folder, so the program is copied.
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
        verify("on", "");
        verify("status", "enabled\n");
        write(LoginItemFixture::entry(), contentOf(LoginItemFixture::entry()) + "Hidden=true\n");
        verify("status", "requiresApproval\n");
        write(LoginItemFixture::entry(), contentOf(LoginItemFixture::entry()) + "TryExec=/nowhere\n");
        verify("status", "notFound\n");
        verify("on", "");
        verify("status", "enabled\n");
        verify("off", "");
        verify("status", "notRegistered\n");
    }

    void whatIsAsItShouldBeIsNoFailure()
    {
        verify("off", "");
        verify("on", "");
        verify("on", "");
    }

    void theEntryTellsTheAgentThatItIsALogin()
    {
        verify("on", "");
        QVERIFY(contentOf(LoginItemFixture::entry()).contains("/KestrumAgent\" --login\n"));
    }

    void switchingOnAgainKeepsForeignKeys()
    {
        verify("on", "");
        write(LoginItemFixture::entry(), contentOf(LoginItemFixture::entry()) + "X-Mine=1\nHidden=true\n");
        verify("on", "");
        QVERIFY(contentOf(LoginItemFixture::entry()).contains("X-Mine=1\n"));
        verify("off", "");
        verify("on", "");
        QVERIFY(contentOf(LoginItemFixture::entry()).contains("X-Mine=1\n"));
    }

    void suppressedItSaysWhy()
    {
        const QString variables[]
            = { QStringLiteral("KESTRUM_NO_LOGIN_ITEM"), QStringLiteral("KESTRUM_UI_TESTING") };
        for (const QString& variable : variables) {
            for (const char* word : { "status", "on", "off" }) {
                const auto result = run(word, { { variable, QStringLiteral("1") } });
                QCOMPARE(result.code, 1);
                QCOMPARE(result.output, QByteArray());
                QVERIFY2(result.errors.contains("Login items are disabled in this build."),
                    result.errors.constData());
            }
            QCOMPARE(run("status", { { variable, QStringLiteral("true") } }).code, 0);
        }
        QVERIFY(!QFile::exists(LoginItemFixture::folder()));
    }

    void aFailureNamesTheThingAndTheReason()
    {
        QVERIFY(QDir().mkpath(LoginItemFixture::folder()));
        QFile::setPermissions(LoginItemFixture::folder(), QFile::ReadOwner | QFile::ExeOwner);
        const auto result = run("on");
        QCOMPARE(result.code, 1);
        QVERIFY2(
            result.errors.contains(QFile::encodeName(LoginItemFixture::folder())), result.errors.constData());
        QVERIFY2(result.errors.contains(qt_error_string(EACCES).toUtf8()), result.errors.constData());
    }

    void noPathForgesALine()
    {
        const QString home = TestHome::root() + QStringLiteral("/.config/a\nkestrumctl: forged\x1B[2J");
        write(home + QStringLiteral("/autostart"), "a file where the folder should be");
        const auto result = run("on", { { QStringLiteral("XDG_CONFIG_HOME"), home } });
        QVERIFY(QDir(home).removeRecursively());
        QCOMPARE(result.code, 1);
        QCOMPARE(result.errors.count('\n'), 1);
        QVERIFY2(
            result.errors.contains("/a\\nkestrumctl: forged\\x1b[2J/autostart"), result.errors.constData());
    }

    void aCopyWithoutAnAgentSaysSo()
    {
        const QString away = m_fixture->agentBundle() + QStringLiteral("-away");
        QVERIFY(QFile::rename(m_fixture->agentBundle(), away));
        const auto result = run("on");
        QVERIFY(QFile::rename(away, m_fixture->agentBundle()));
        QCOMPARE(result.code, 1);
        QVERIFY2(result.errors.contains("This copy of Kestrum is incomplete."), result.errors.constData());
    }

    void anotherWordIsWrongUse()
    {
        const auto result = run("enable");
        QCOMPARE(result.code, 2);
        QVERIFY2(result.errors.contains("\"enable\""), result.errors.constData());
        QCOMPARE(run("").code, 2);
    }

    void rootIsRefused()
    {
        if (::getuid() != 0)
            QSKIP("only root can be root");
        QCOMPARE(::seteuid(0), 0);
        const auto result = run("on");
        QCOMPARE(::seteuid(65534), 0);
        QCOMPARE(result.code, 1);
        QVERIFY2(result.errors.contains("No login item is registered for root."), result.errors.constData());
        QVERIFY(!QFile::exists(LoginItemFixture::folder()));
    }

private:
    Kestrumctl::Result run(const char* word, const Kestrumctl::Variables& variables = {}) const
    {
        const QStringList arguments { QStringLiteral("login-item"), QString::fromUtf8(word) };
        if (::getuid() != 0 || ::geteuid() == 0)
            return Kestrumctl::run(arguments, {}, variables, m_program);
        // The program gets that user's real and effective ids.
        const QStringList user { QStringLiteral("--reuid=65534"), QStringLiteral("--regid=65534"),
            QStringLiteral("--keep-groups"), m_program };
        return Kestrumctl::run(user + arguments, {}, variables, QStringLiteral("setpriv"));
    }
    void verify(const char* word, const QByteArray& output) const
    {
        const auto result = run(word);
        QCOMPARE(result.errors, QByteArray());
        QCOMPARE(result.output, output);
        QCOMPARE(result.code, 0);
    }

    std::unique_ptr<LoginItemFixture> m_fixture;
    QString m_program;
};

KESTRUM_TEST_MAIN(QCoreApplication, KestrumctlLoginItemTest)
#include "KestrumctlLoginItemTest.moc"
