// The built programs in sessions without a session bus or a private runtime directory. The programs work without them and
// create no replacement.

#include "tests/Support/DesktopTest.h"

#include <QSet>
#include <QStandardPaths>
#include <algorithm>
#include <csignal>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

using namespace kestrum;

using Programs::patience;

namespace {

/// A socket that accepts connections and never answers.
class Listener {
public:
    explicit Listener(const QByteArray& path)
        : m_path(path)
        , m_socket(::socket(AF_UNIX, SOCK_STREAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0))
    {
        sockaddr_un address {};
        address.sun_family = AF_UNIX;
        QVERIFY(size_t(path.size()) < sizeof address.sun_path);
        std::copy(path.begin(), path.end(), static_cast<char*>(address.sun_path));
        QCOMPARE(::bind(m_socket, reinterpret_cast<const sockaddr*>(&address), sizeof address), 0);
        QCOMPARE(::listen(m_socket, 100), 0);
    }
    ~Listener()
    {
        ::close(m_socket);
        ::unlink(m_path.constData());
    }
    Q_DISABLE_COPY_MOVE(Listener)

    /// The number of connections since the last call. Closes all of them.
    int callers() const
    {
        int count = 0;
        for (int caller = ::accept(m_socket, nullptr, nullptr); caller >= 0;
             caller = ::accept(m_socket, nullptr, nullptr)) {
            ::close(caller);
            ++count;
        }
        return count;
    }

private:
    QByteArray m_path;
    int m_socket;
};

} // namespace

class BareSessionEndToEndTest : public DesktopTest {
    Q_OBJECT

    QByteArray m_runtimeDirectory;
    QByteArray m_bus;

    /// The bus processes that were started in this test, recognized by the test's home in their environment.
    static QSet<int> busProcesses()
    {
        const QByteArray home = '\0' + ("HOME=" + qgetenv("HOME")) + '\0';
        QSet<int> pids;
        const QStringList entries = QDir(text("/proc")).entryList(QDir::Dirs);
        for (const QString& entry : entries) {
            if (entry.toInt() > 0 && contentOf(text("/proc/%1/comm").arg(entry)).startsWith("dbus-")
                && DesktopFixture::environmentOf(entry.toInt()).contains(home))
                pids.insert(entry.toInt());
        }
        return pids;
    }

    /// Starts the settings application. Waits until its window is shown, and also the strip of the agent that it starts.
    std::unique_ptr<QProcess> startBoth() const
    {
        auto kestrum = Programs::started(fixture().program("Kestrum"), {});
        kestrum->setReadChannel(QProcess::StandardError);
        const auto isUp = [&] { return agents().size() == 1 && DesktopFixture::stripWidth(0) > 0; };
        if (DesktopFixture::windowOf(kestrum->processId()).isEmpty() || !QTest::qWaitFor(isUp, patience))
            qWarning("the programs do not come up: %s", kestrum->readAllStandardError().constData());
        // Both programs look for a bus a tenth of a second after their first frames.
        QTest::qWait(500);
        return kestrum;
    }

    QByteArray agentsEnvironment() const { return DesktopFixture::environmentOf(agents().value(0)); }

private Q_SLOTS:
    void init()
    {
        fixture().useBuiltAgent();
        m_runtimeDirectory = qgetenv("XDG_RUNTIME_DIR");
        m_bus = qgetenv("DBUS_SESSION_BUS_ADDRESS");
        qunsetenv("DBUS_SESSION_BUS_ADDRESS");
    }

    void cleanup()
    {
        fixture().endSettingsApplications();
        fixture().endAgents();
        qputenv("DBUS_SESSION_BUS_ADDRESS", m_bus);
        qputenv("XDG_RUNTIME_DIR", m_runtimeDirectory);
        qunsetenv("TMPDIR");
        ::chmod(m_runtimeDirectory.constData(), 0700);
    }

    void noBusIsStartedWhereThereIsNone_data()
    {
        QTest::addColumn<QByteArray>("named");
        QTest::newRow("none is named") << QByteArray();
        QTest::newRow("one is to be started") << QByteArray("autolaunch:");
    }
    void noBusIsStartedWhereThereIsNone()
    {
        QFETCH(const QByteArray, named);
        // The bus library runs this program to start a session bus.
        QVERIFY(!QStandardPaths::findExecutable(text("dbus-launch")).isEmpty());
        if (!named.isEmpty())
            qputenv("DBUS_SESSION_BUS_ADDRESS", named);
        const QSet<int> before = busProcesses();
        const auto kestrum = startBoth();
        // kestrumctl opens the display if QT_QPA_PLATFORM is set. Even then, it must not start a bus.
        QVERIFY(fixture().kestrumctl("describe").contains("items"));
        const QSet<int> started = busProcesses() - before;
        for (const int pid : started)
            ::kill(pid, SIGKILL);
        QCOMPARE(started.size(), 0);
        QVERIFY(agentsEnvironment().contains(QByteArray("\0DBUS_SESSION_BUS_ADDRESS=disabled:\0", 36)));
        Programs::end(*kestrum);
    }

    void theBusOfADirectoryThatOthersMayEnterIsNotJoined()
    {
        const Listener listener(m_runtimeDirectory + "/bus");
        QCOMPARE(::chmod(m_runtimeDirectory.constData(), 0755), 0);
        const auto kestrum = startBoth();
        QCOMPARE(listener.callers(), 0);
        QVERIFY(agentsEnvironment().contains(QByteArray("\0DBUS_SESSION_BUS_ADDRESS=disabled:\0", 36)));
        Programs::end(*kestrum);
    }

    void aBusThatNeverAnswersHoldsNobodyUp()
    {
        const Listener listener(m_runtimeDirectory + "/bus");
        const auto kestrum = startBoth();
        const int width = DesktopFixture::stripWidth(0);
        QVERIFY(width > 0);
        fixture().kestrumctl("write showSensorsItem false");
        QTRY_VERIFY_WITH_TIMEOUT(DesktopFixture::stripWidth(0) < width, patience);
        Programs::end(*kestrum);
        QVERIFY(listener.callers() >= 2);
    }

    void noRuntimeDirectoryIsMade_data()
    {
        QTest::addColumn<QByteArray>("named");
        QTest::newRow("none is named") << QByteArray();
        QTest::newRow("one that is not there") << QByteArray("missing");
        QTest::newRow("one that others may enter") << QByteArray("open");
    }
    void noRuntimeDirectoryIsMade()
    {
        QFETCH(const QByteArray, named);
        // Stands for the temporary folder, where programs put files that have no other place.
        const FileTree shared;
        QCOMPARE(::mkdir(QFile::encodeName(shared.path(text("open"))).constData(), 0755), 0);
        qputenv("TMPDIR", QFile::encodeName(shared.root()));
        if (named.isEmpty())
            qunsetenv("XDG_RUNTIME_DIR");
        else
            qputenv("XDG_RUNTIME_DIR", QFile::encodeName(shared.path(QString::fromLatin1(named))));
        const auto kestrum = startBoth();
        QCOMPARE(QDir(shared.root()).entryList(QDir::AllEntries | QDir::NoDotAndDotDot),
            QStringList(text("open")));
        // A started program has the session's environment unchanged.
        QVERIFY(agentsEnvironment().contains(QByteArray(1, '\0') + "TMPDIR=" + qgetenv("TMPDIR") + '\0'));
        const QByteArray variable = QByteArray(1, '\0') + "XDG_RUNTIME_DIR=";
        if (named.isEmpty())
            QVERIFY(!agentsEnvironment().contains(variable));
        else
            QVERIFY(agentsEnvironment().contains(variable + qgetenv("XDG_RUNTIME_DIR") + '\0'));
        const QByteArray said = kestrum->readAllStandardError();
        QVERIFY2(!said.contains("QStandardPaths"), said.constData());
        Programs::end(*kestrum);
    }
};

KESTRUM_TEST_MAIN_ON_DISPLAY(BareSessionEndToEndTest)
#include "BareSessionEndToEndTest.moc"
