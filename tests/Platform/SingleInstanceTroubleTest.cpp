#include "Platform/Files/RateLimiter.h"
#include "Platform/Processes/InstanceName.h"
#include "Platform/Processes/SingleInstance.h"
#include "tests/Support/InstanceFixture.h"

#include <atomic>
#include <csignal>
#include <cstddef>
#include <sys/syscall.h>
#include <thread>

using namespace kestrum;

namespace {

/// Sends datagrams to the first start's socket without a pause, while this object exists.
class Flood {
public:
    Flood()
        : m_sender([this] {
            const sockaddr_un address = InstanceFixture::addressOfSocket();
            const FileDescriptor socket(::socket(AF_UNIX, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
            while (!m_isOver) {
                const ssize_t sent = ::sendto(socket.get(), "flood", 5, MSG_NOSIGNAL,
                    reinterpret_cast<const sockaddr*>(&address), sizeof address);
                m_sent += sent == 5 ? 1 : 0;
            }
        })
    {
    }
    ~Flood()
    {
        m_isOver = true;
        m_sender.join();
    }
    Q_DISABLE_COPY_MOVE(Flood)

    int sent() const { return m_sent; }

private:
    std::atomic<bool> m_isOver = false;
    std::atomic<int> m_sent = 0;
    std::thread m_sender;
};

} // namespace

class SingleInstanceTroubleTest : public QObject, InstanceFixture {
    Q_OBJECT

private Q_SLOTS:
    void aFloodCostsLittleAndRealRequestsAreAnswered()
    {
        const FirstInstance first;
        // Uses as much processor time as raising a window.
        connect(&first.instance, &SingleInstance::raiseRequested, this, [] {
            const auto begin = RateLimiter::processorTime();
            while (RateLimiter::processorTime() - begin < std::chrono::milliseconds(2)) { }
        });
        const Flood flood;
        QTest::qWait(500); // until the budget for bursts is used up
        constexpr int duration = 2000;
        QElapsedTimer clock;
        clock.start();
        const auto before = RateLimiter::processorTime();
        QTest::qWait(duration);
        const std::chrono::duration<double, std::milli> used = RateLimiter::processorTime() - before;
        const double share = used.count() / double(clock.elapsed());
        qInfo("%.1f %% of a core, %d datagrams sent, %d requests", share * 100, flood.sent(),
            int(first.asked.count()));
        QVERIFY(flood.sent() > 100);
        QVERIFY2(share < 0.05, QByteArray::number(share).constData());
        for (int i = 0; i < 5; ++i)
            QVERIFY(isAnswered(3000));
    }

    void clearingTheRuntimeFolderLetsNoSecondOneIn_data()
    {
        QTest::addColumn<QString>("cleared");
        QTest::newRow("the files") << folder() + QStringLiteral("/*");
        QTest::newRow("the folder") << folder();
        QTest::newRow("all of the runtime directory") << TestHome::runtimeDirectory() + QStringLiteral("/*");
    }

    void clearingTheRuntimeFolderLetsNoSecondOneIn()
    {
        QFETCH(const QString, cleared);
        HelperProcess first(start(QStringLiteral("token")));
        QCOMPARE(first.line(), QByteArray("first"));
        for (int times = 0; times < 2; ++times) {
            clear(cleared);
            for (int starts = 0; starts < 2; ++starts) {
                HelperProcess second(start(QStringLiteral("token")));
                QCOMPARE(second.line(), QByteArray("second"));
                QCOMPARE(second.finish(), 0);
                QCOMPARE(first.line(), QByteArray("raise token"));
            }
        }
    }

    void thePlaceIsFreeOnceItsHolderHasEnded_data() { clearingTheRuntimeFolderLetsNoSecondOneIn_data(); }

    void thePlaceIsFreeOnceItsHolderHasEnded()
    {
        QFETCH(const QString, cleared);
        for (const bool isKilled : { true, false }) {
            HelperProcess first(start(QStringLiteral("token")));
            QCOMPARE(first.line(), QByteArray("first"));
            clear(cleared);
            if (isKilled) {
                QCOMPARE(::kill(pid_t(first.pid()), SIGKILL), 0);
                QCOMPARE(first.finish(), -1);
            } else {
                first.say("give it back");
                QCOMPARE(first.line(), QByteArray("gave back"));
            }
            HelperProcess next(start(QStringLiteral("token")));
            QCOMPARE(next.line(), QByteArray("first"));
        }
    }

    void aHolderThatHangsIsLeftInItsPlace()
    {
        HelperProcess first(start(QStringLiteral("token")));
        QCOMPARE(first.line(), QByteArray("first"));
        clear(folder());
        QCOMPARE(::kill(pid_t(first.pid()), SIGSTOP), 0);
        HelperProcess second(start(QStringLiteral("token")));
        QCOMPARE(second.line(), QByteArray("second"));
        QCOMPARE(second.finish(), 1); // the stopped process does not answer
        QCOMPARE(::kill(pid_t(first.pid()), SIGCONT), 0);
        QVERIFY(isAnswered(3000));
    }

    void anotherUserThatAnswersCannotHoldThePlace() { verifyThatAnotherUserCannotHoldThePlace(true); }
    void anotherUserThatDoesNotAnswerCannotHoldThePlace() { verifyThatAnotherUserCannotHoldThePlace(false); }

private:
    /// Removes all paths that match the shell pattern.
    static void clear(const QString& pattern)
    {
        QCOMPARE(QProcess::execute(QStringLiteral("/bin/sh"),
                     { QStringLiteral("-c"), QStringLiteral("rm -rf ") + pattern }),
            0);
    }

    static void verifyThatAnotherUserCannotHoldThePlace(bool isAnswering)
    {
        if (::getuid() != 0)
            QSKIP("only root can be another user");
        const QByteArray address = InstanceName::addressOf("Kestrum");
        std::atomic<int> socket = -1;
        // The system call changes the user of this thread only. The C library's function would change the user of all threads.
        std::thread([&] {
            const sockaddr_un place = addressOf(address);
            socket = ::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC, 0);
            const auto size = socklen_t(offsetof(sockaddr_un, sun_path) + size_t(address.size()));
            if (::syscall(SYS_setresuid, -1, 65534, -1) != 0
                || ::bind(socket, reinterpret_cast<const sockaddr*>(&place), size) != 0
                || (isAnswering && ::listen(socket, 1) != 0))
                socket = -1;
        }).join();
        QVERIFY(socket >= 0);
        const FileDescriptor held(socket);
        const SingleInstance first("Kestrum");
        QVERIFY(first.isFirst());
        // The lock in the folder still shows that a first start exists.
        QVERIFY(!SingleInstance("Kestrum").isFirst());
        QVERIFY(isAnswered(3000));
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, SingleInstanceTroubleTest)
#include "SingleInstanceTroubleTest.moc"
