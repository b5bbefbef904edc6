#include "Platform/LoginItem/LoginItemService.h"

#include "tests/Support/LoginItemTest.h"

#include <QProcess>
#include <unistd.h>

using namespace kestrum;

namespace {

const QString generator = text("/usr/lib/systemd/user-generators/systemd-xdg-autostart-generator");

} // namespace

/// Desktops read the entry and start the program, whatever its path contains.
class LoginItemStartTest : public LoginItemTest {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        // An ordinary user may not have access to the build folder, so the test runs a copy of the reader.
        m_reader = TestHome::root() + text("/reader");
        QVERIFY(
            QFile::copy(qEnvironmentVariable("KESTRUM_BUILD") + text("/tests/AutostartReader"), m_reader));
        QVERIFY(QFile::setPermissions(
            m_reader, QFile::ReadOwner | QFile::ExeOwner | QFile::ReadOther | QFile::ExeOther));
        LoginItemTest::initTestCase();
    }

    void aDesktopStartsTheProgramFromAnyPath_data()
    {
        QTest::addColumn<QString>("name");
        for (const char* name : { "plain", "with a space", " leading space", "trailing ", "\"quoted\"",
                 "it's", "$HOME", "$(id)", "`id`", "back\\slash", "\\n", "\\\\", "100%", "%f", "%%u",
                 "a;b&c|d", "#comment", "a=b", "~", "*?[x]", "<in>out", "tab\there", "two\nlines", "Größe",
                 "-dash", "!history", "all \"'`$\\%=;& of them" })
            QTest::newRow(name) << QString::fromUtf8(name);
    }

    void aDesktopStartsTheProgramFromAnyPath()
    {
        QFETCH(const QString, name);
        // The folder and the file both have this name.
        const FileTree tree;
        const QString program = tree.path(name + u'/' + name);
        LoginItemFixture::makeProgram(program);
        for (const QByteArray& argument : { QByteArray(), QByteArray("--login") }) {
            LoginItemFixture::clear();
            const LoginItemService service(
                text("com.orvale.kestrum.agent"), program, text("Kestrum"), argument);
            QVERIFY(service.registerItem());
            QCOMPARE(service.status(), LoginItemService::Status::enabled);
            QCOMPARE(read(entry()), 0);
            const QByteArray started
                = QFile::encodeName(program) + (argument.isEmpty() ? "" : ' ' + argument);
            // QTRY_COMPARE would check only every 50 ms.
            (void)QTest::qWaitFor([&] { return contentOf(LoginItemFixture::startedFile()) == started; });
            QCOMPARE(contentOf(LoginItemFixture::startedFile()), started);
        }
    }

    void aNameOfAnyLettersIsShownAsItIs()
    {
        for (const char* name : { "Kestrum", "back\\slash", " blank", "two\nlines", "Größe" }) {
            LoginItemFixture::clear();
            const LoginItemService service(
                text("com.orvale.kestrum.agent"), agentProgram(), QString::fromUtf8(name));
            QVERIFY(service.registerItem());
            QCOMPARE(read(entry()), 0);
            QCOMPARE(m_output, QByteArray(name));
        }
    }

    void aDesktopStartsNothingThatIsSwitchedOff()
    {
        QVERIFY(service().registerItem());
        QByteArray text = content();
        writeEntry(text.replace("Hidden=false", "Hidden=true"));
        QCOMPARE(service().status(), LoginItemService::Status::requiresApproval);
        QCOMPARE(read(entry()), 3);
    }

    void aDesktopRefusesWhatWeSayIsNotFound()
    {
        QVERIFY(service().registerItem());
        writeEntry(content() + "words\n");
        QCOMPARE(service().status(), LoginItemService::Status::notFound);
        QCOMPARE(read(entry()), 1);
        QVERIFY(service().registerItem());
        QCOMPARE(read(entry()), 0);
    }

    void systemdMakesAServiceOfTheEntryUnlessItIsSwitchedOff()
    {
        if (!QFile::exists(generator))
            QSKIP("this system starts no entries by systemd");
        const FileTree units;
        QVERIFY(service().registerItem());
        const QByteArray unit = serviceOf(units);
        QVERIFY2(unit.contains("\nExecStart=:\"" + QFile::encodeName(agentProgram()) + "\"\n")
                || unit.contains("\nExecStart=:" + QFile::encodeName(agentProgram()) + '\n'),
            unit.constData());
        QByteArray text = content();
        writeEntry(text.replace("Hidden=false", "Hidden=true"));
        const FileTree none;
        QCOMPARE(serviceOf(none), QByteArray());
    }

private:
    int read(const QString& entry)
    {
        QProcess process;
        process.start(m_reader, { entry });
        if (!process.waitForFinished(10'000))
            process.kill();
        m_output = process.readAllStandardOutput();
        return process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
    }

    /// Runs systemd's generator with the output folder `units`. Returns the unit that the generator makes from the program's
    /// entry; empty if it makes none.
    static QByteArray serviceOf(const FileTree& units)
    {
        QProcess process;
        // The generator ignores the folders in the environment if its real and effective user differ, so this sets all its ids.
        process.setChildProcessModifier([] {
            const gid_t group = ::getegid();
            const uid_t user = ::geteuid();
            if (::setresgid(group, group, group) != 0 || ::setresuid(user, user, user) != 0)
                ::_exit(1);
        });
        process.start(generator, { units.root() });
        process.waitForFinished(10'000);
        const QStringList names
            = QDir(units.root()).entryList({ text("app-com.orvale.kestrum.agent*.service") }, QDir::Files);
        return names.isEmpty() ? QByteArray() : contentOf(units.path(names.first()));
    }

    QString m_reader;
    QByteArray m_output;
};

KESTRUM_TEST_MAIN(QCoreApplication, LoginItemStartTest)
#include "LoginItemStartTest.moc"
