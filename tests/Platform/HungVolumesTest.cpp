#include "tests/Support/TestHome.h"
#include "tests/Support/VolumesFixture.h"

#include <QElapsedTimer>
#include <csignal>
#include <pthread.h>
#include <unistd.h>

using namespace kestrum;
using namespace std::chrono_literals;

namespace {

/// Keeps a thread from doing anything while it exists, as a machine does that has too much to do.
class StoppedThread {
public:
    explicit StoppedThread(Qt::HANDLE thread)
    {
        ::signal(SIGUSR2, [](int) {
            ++s_stopped;
            while (s_wanted > 0)
                ::usleep(1000);
            --s_stopped;
        });
        const int before = s_stopped;
        ++s_wanted;
        ::pthread_kill(pthread_t(thread), SIGUSR2);
        QVERIFY(QTest::qWaitFor([before] { return s_stopped > before; }, volumePatience));
    }
    ~StoppedThread()
    {
        --s_wanted;
        if (s_wanted == 0)
            QVERIFY(QTest::qWaitFor([] { return s_stopped == 0; }, volumePatience));
    }
    Q_DISABLE_COPY_MOVE(StoppedThread)

private:
    static inline std::atomic<int> s_wanted = 0;
    static inline std::atomic<int> s_stopped = 0;
};

} // namespace

class HungVolumesTest : public QObject, private VolumesFixture {
    Q_OBJECT
private Q_SLOTS:
    void init() { setUp(); }
    void cleanup() { tearDown(); }

    void aHungShareIsSilentAfterTwoSecondsAndHoldsUpNothing()
    {
        mount(localLine(1, "/") + shareLine(2, "/mnt/hung") + shareLine(3, "/mnt/fine"));
        m_standIns->hang("/mnt/hung");
        QElapsedTimer timer;
        timer.start();
        m_volumes->begin();
        sample();
        QVERIFY2(timer.elapsed() < atOnce, "opening waits");
        QVERIFY(becomes("/", "1"));
        QVERIFY(becomes("/mnt/fine", "9"));
        QCOMPARE(space("/mnt/hung"), QByteArray("-"));
        sample(1999ms);
        QCOMPARE(space("/mnt/hung"), QByteArray("-"));
        sample(1ms);
        QCOMPARE(space("/mnt/hung"), QByteArray("silent"));

        // It is not asked again. The others are.
        for (int i = 0; i < 5; ++i) {
            sample(10s);
            QVERIFY(isAsked("/mnt/fine", 2 + i));
            QVERIFY(becomes("/mnt/fine", "9"));
        }
        QCOMPARE(space("/mnt/hung"), QByteArray("silent"));
        QCOMPARE(m_standIns->asked("/mnt/hung"), 1);
        QVERIFY(isAsked("/", 8));

        m_standIns->answer("/mnt/hung");
        QVERIFY(becomes("/mnt/hung", "9"));
        sample(10s);
        QVERIFY(isAsked("/mnt/hung", 2));
    }

    void aShareThatFallsSilentLosesItsSpace()
    {
        mount(shareLine(2, "/mnt/share"));
        m_volumes->begin();
        sample();
        QVERIFY(becomes("/mnt/share", "10"));
        m_standIns->hang("/mnt/share");
        sample(10s);
        QVERIFY(isAsked("/mnt/share", 2));
        QCOMPARE(space("/mnt/share"), QByteArray("10"));
        sample(2s);
        QCOMPARE(space("/mnt/share"), QByteArray("silent"));
    }

    void noMoreThanFourSharesAreWaitedFor()
    {
        const QByteArrayList shares { "/mnt/a", "/mnt/b", "/mnt/c", "/mnt/d", "/mnt/e" };
        QByteArray table = localLine(1, "/");
        for (const QByteArray& share : shares) {
            table += shareLine(10 + int(share.back()), share);
            m_standIns->hang(share);
        }
        mount(table);
        QVERIFY(areThreadsLeft(0));
        m_volumes->begin();
        for (int i = 0; i < 5; ++i) {
            sample(10s);
            QVERIFY(becomes("/", "1"));
        }
        QVERIFY(areThreadsLeft(5));
        for (const QByteArray& share : shares)
            QCOMPARE(space(share), share == "/mnt/e" ? "-" : "silent");
        QCOMPARE(m_standIns->asked("/mnt/e"), 0);
        // One answers, and makes room for the one that waits.
        m_standIns->answer("/mnt/e");
        m_standIns->answer("/mnt/b");
        QVERIFY(becomes("/mnt/b", "6"));
        QVERIFY(isAsked("/mnt/e", 1));
        QVERIFY(becomes("/mnt/e", "6"));
    }

    void aHungVolumeOfThisMachineHoldsUpTheOthersForTwoSeconds()
    {
        mount(localLine(1, "/") + localLine(2, "/hung") + localLine(3, "/zdata"));
        m_standIns->hang("/hung");
        m_volumes->begin();
        sample();
        QVERIFY(becomes("/", "1"));
        sample(1999ms);
        QCOMPARE(space("/hung"), QByteArray("-"));
        QCOMPARE(space("/zdata"), QByteArray("-"));
        sample(1ms);
        QCOMPARE(space("/hung"), QByteArray("silent"));
        QVERIFY(becomes("/zdata", "6"));
        for (int i = 2; i < 5; ++i)
            QVERIFY(isAsked("/zdata", i));
        QCOMPARE(m_standIns->asked("/hung"), 1);
        m_standIns->answer("/hung");
        QVERIFY(becomes("/hung", "5"));
        QVERIFY(isAsked("/hung", 2));
    }

    void nobodyWaitsForHungVolumesAtTheEnd()
    {
        QByteArray table;
        for (const char* path : { "/", "/mnt/a", "/mnt/b", "/mnt/c", "/mnt/d" }) {
            table += *path && path[1] ? shareLine(10 + path[5], path) : localLine(1, path);
            m_standIns->hang(path);
        }
        mount(table);
        m_volumes->begin();
        sample();
        QTRY_COMPARE_WITH_TIMEOUT(m_standIns->allAsked().size(), 5, volumePatience);
        QElapsedTimer timer;
        timer.start();
        m_volumes->end();
        QVERIFY2(timer.elapsed() < atOnce, "closing waits");
        m_volumes.reset();
        QVERIFY2(timer.elapsed() < atOnce, "the destructor waits");
    }

    void whileClosedOnlyThreadsOfHungVolumesAreLeft()
    {
        mount(localLine(1, "/") + shareLine(2, "/mnt/hung") + shareLine(3, "/mnt/fine"));
        m_standIns->hang("/mnt/hung");
        QVERIFY(areThreadsLeft(0));
        m_volumes->begin();
        sample();
        QVERIFY(becomes("/", "1") && becomes("/mnt/fine", "9"));
        sample(2s);
        QVERIFY(becomes("/", "1"));
        m_volumes->end();
        m_volumes->end();
        QVERIFY(QTest::qWaitFor(
            [&] { return (m_volumes->end(), threadCount()) == m_threads + 1; }, volumePatience));

        // Opened again, everything is still known, and who is silent is not asked again.
        m_volumes->begin();
        QCOMPARE(space("/"), QByteArray("1"));
        QCOMPARE(space("/mnt/fine"), QByteArray("9"));
        QCOMPARE(space("/mnt/hung"), QByteArray("silent"));
        sample(20s);
        QVERIFY(isAsked("/mnt/fine", 2));
        QCOMPARE(m_standIns->asked("/mnt/hung"), 1);
        QCOMPARE(space("/mnt/hung"), QByteArray("silent"));
    }

    void aVolumeThatComesBackHangsOnNoSecondThread()
    {
        const QByteArray hung = localLine(2, "/media/user/hung");
        const QByteArray share = shareLine(3, "/mnt/hung");
        for (const char* path : { "/media/user/hung", "/mnt/hung" })
            m_standIns->hang(path);
        const auto mountAnew = [this](const QByteArray& table) {
            m_volumes->end();
            mount(table);
            m_volumes->begin();
        };
        mountAnew(localLine(1, "/") + hung + share);
        sample();
        QVERIFY(isAsked("/mnt/hung", 1) && isAsked("/media/user/hung", 1));
        sample(2s);
        mountAnew(localLine(1, "/"));
        sample(10s);
        mountAnew(localLine(1, "/") + hung + share);
        for (const char* path : { "/media/user/hung", "/mnt/hung" })
            QCOMPARE(space(path), QByteArray("silent"));
        for (int i = 0; i < 3; ++i) {
            sample(10s);
            QVERIFY(becomes("/", "1"));
        }
        for (const char* path : { "/media/user/hung", "/mnt/hung" })
            QCOMPARE(m_standIns->asked(path), 1);
        m_standIns->answer("/mnt/hung");
        QVERIFY(becomes("/mnt/hung", "9"));
    }

    void nobodyWaitsForThreadsThatHaveNothingToDo()
    {
        const QByteArrayList paths { "/", "/mnt/a", "/mnt/b", "/mnt/c", "/mnt/d" };
        QByteArray table = localLine(1, "/");
        for (const QByteArray& path : paths.mid(1))
            table += shareLine(10 + path.back(), path);
        mount(table);
        m_volumes->begin();
        sample();
        std::vector<std::unique_ptr<StoppedThread>> stopped;
        for (const QByteArray& path : paths) {
            QVERIFY(becomes(path, QByteArray::number(path.size())));
            stopped.push_back(std::make_unique<StoppedThread>(m_standIns->threads(path).first()));
        }
        QTest::qWait(20); // until the workers know that they are idle
        QElapsedTimer timer;
        timer.start();
        m_volumes->end();
        QVERIFY2(timer.elapsed() < atOnce, "closing waits");
    }

    void closingWithAnswersUnreadOrVolumesHungHarmsNoLaterOpening()
    {
        mount(localLine(1, "/") + localLine(2, "/hung") + localLine(3, "/zdata") + shareLine(4, "/mnt/a"));
        for (int i = 1; i < 5; ++i) {
            m_volumes->begin();
            sample(10s);
            QVERIFY(QTest::qWaitFor([&] { return m_standIns->asked("/mnt/a") == i; }, volumePatience));
            m_volumes->end();
            QTest::qWait(1);
        }
        QVERIFY(
            QTest::qWaitFor([&] { return (m_volumes->end(), threadCount()) == m_threads; }, volumePatience));
        m_standIns->hang("/hung");
        const int asked = m_standIns->asked("/hung");
        for (int i = 0; i < 5; ++i) {
            m_volumes->begin();
            QVERIFY(isAsked("/hung", asked + 1));
            m_volumes->end();
        }
        m_volumes->begin();
        sample(2s);
        QCOMPARE(space("/hung"), QByteArray("silent"));
        const int others = m_standIns->asked("/zdata");
        QVERIFY(isAsked("/zdata", others + 1));
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, HungVolumesTest)
#include "HungVolumesTest.moc"
