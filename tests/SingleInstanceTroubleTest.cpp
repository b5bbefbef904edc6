#include "Platform/SingleInstance.h"
#include "Platform/WorkAllowance.h"
#include "tests/Peer.h"
#include "tests/TestHome.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QSignalSpy>
#include <QTest>
#include <atomic>
#include <sys/socket.h>
#include <sys/un.h>
#include <thread>

using namespace kestrum;

namespace {

QString folder()
{
    return TestHome::runtimeDirectory() + QStringLiteral("/kestrum");
}

QStringList instance()
{
    return { QStringLiteral("instance"), QStringLiteral("Kestrum"), QStringLiteral("token") };
}

/// A second start tells the first one, and ends well, within so many milliseconds.
bool isAnswered(int milliseconds)
{
    QElapsedTimer clock;
    clock.start();
    Peer second(instance());
    return QTest::qWaitFor([&] { return second.hasEnded(); }) && second.finish() == 0
        && second.line() == "second" && clock.elapsed() < milliseconds;
}

/// Sends datagrams to the first one's socket without a pause for as long as this lives.
class Flood {
public:
    Flood()
        : m_sender([this] {
            sockaddr_un address {};
            address.sun_family = AF_UNIX;
            const QByteArray name = QFile::encodeName(folder() + QStringLiteral("/Kestrum.socket"));
            std::copy(name.begin(), name.end(), static_cast<char*>(address.sun_path));
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

/// A first start that others make trouble for.
class SingleInstanceTroubleTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void aFloodCostsLittleAndRealRequestsAreAnswered()
    {
        const SingleInstance first("Kestrum");
        // What bringing a window forward costs.
        connect(&first, &SingleInstance::raiseRequested, this, [] {
            const auto begin = WorkAllowance::processorTime();
            while (WorkAllowance::processorTime() - begin < std::chrono::milliseconds(2)) { }
        });
        QSignalSpy asked(&first, &SingleInstance::raiseRequested);
        const Flood flood;
        QTest::qWait(500); // what is saved up for bursts
        constexpr int duration = 4000;
        QElapsedTimer clock;
        clock.start();
        const auto before = WorkAllowance::processorTime();
        QTest::qWait(duration);
        const std::chrono::duration<double, std::milli> used = WorkAllowance::processorTime() - before;
        const double share = used.count() / double(clock.elapsed());
        qInfo("%.1f %% of a core, %d datagrams sent, %d requests", share * 100, flood.sent(),
            int(asked.count()));
        QVERIFY(flood.sent() > 100);
        QVERIFY2(share < 0.05, QByteArray::number(share).constData());
        for (int i = 0; i < 5; ++i)
            QVERIFY(isAnswered(3000));
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, SingleInstanceTroubleTest)
#include "SingleInstanceTroubleTest.moc"
