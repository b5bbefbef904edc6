#include "Platform/Processes/LaunchPoller.h"
#include "tests/Support/QuietTime.h"
#include "tests/Support/TestHome.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QTest>
#include <memory>

using namespace kestrum;
using namespace std::chrono_literals;

namespace {

constexpr int tolerance = 100; // ms
constexpr int series = 5;      // polls after an opening

void work(RateLimiter::Duration cost)
{
    const auto begin = RateLimiter::processorTime();
    while (RateLimiter::processorTime() - begin < cost) { }
}

} // namespace

class LaunchPollerTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        m_cost = {};
        m_poller = std::make_unique<LaunchPoller>([this] {
            work(m_cost);
            m_at.append(m_clock.elapsed());
        });
        m_at.clear();
        m_clock.start();
    }

    void pollsComeSoonAndOnceMoreLate_data()
    {
        QTest::addColumn<int>("openings");
        QTest::newRow("one opening") << 1;
        QTest::newRow("many openings at once are one") << 1000;
    }
    void pollsComeSoonAndOnceMoreLate()
    {
        QFETCH(const int, openings);
        QTest::qWait(openings == 1 ? 700 : quietTime);
        QCOMPARE(m_at.size(), 0); // nothing is polled without an opening
        m_clock.start();
        for (int i = 0; i < openings; ++i)
            m_poller->restart();
        QCOMPARE(m_at.size(), 0); // polls run from the event loop only
        QTRY_COMPARE(m_at.size(), series);
        QTest::qWait(quietTime);
        QCOMPARE(m_at.size(), series);
        const int expected[] = { 0, 1, 5, 50, 500 };
        for (int i = 0; i < series; ++i)
            QVERIFY2(m_at[i] >= expected[i] - 1 && m_at[i] < expected[i] + tolerance,
                qPrintable(QStringLiteral("poll %1 after %2 ms").arg(i).arg(m_at[i])));
    }

    void laterOpeningRestartsTheSeries()
    {
        m_poller->restart();
        QTRY_COMPARE(m_at.size(), 4);
        const qint64 later = m_clock.elapsed();
        m_poller->restart();
        QTRY_COMPARE(m_at.size(), 4 + series);
        QTest::qWait(quietTime);
        QCOMPARE(m_at.size(), 4 + series);
        QVERIFY(m_at[4] - later < tolerance);
        QVERIFY(m_at[8] - later >= 499);
    }

    void stormOfOpeningsMakesFewPolls()
    {
        m_cost = 1ms;
        storm(1000);
        // The budget allows a burst of 20 polls and then three polls per 100 ms.
        QVERIFY2(m_at.size() <= 60, qPrintable(QString::number(m_at.size())));
        QVERIFY2(m_at.size() >= 20, qPrintable(QString::number(m_at.size())));
        // There is no long gap between two polls.
        for (qsizetype i = 1; i < m_at.size(); ++i)
            QVERIFY2(m_at[i] - m_at[i - 1] < 300, qPrintable(QString::number(m_at[i] - m_at[i - 1])));
        // Another opening after the storm causes a whole series of polls.
        const qint64 last = m_clock.elapsed();
        m_poller->restart();
        const auto before = m_at.size();
        QTRY_COMPARE(m_at.size(), before + series);
        QTest::qWait(quietTime);
        QCOMPARE(m_at.size(), before + series);
        QVERIFY(m_at.last() - last >= 499);
    }

    void expensivePollsAreMadeAllTheSame()
    {
        m_cost = 30ms;
        m_poller->restart();
        QTRY_COMPARE(m_at.size(), series);
        QVERIFY(m_at[1] - m_at[0] >= 100);
    }

    void quietTimeMakesPollsPromptAgain()
    {
        // A full budget covers two polls of this cost. Without budget, the pause after each poll is 200 ms.
        m_cost = 10ms;
        m_poller->restart();
        QTRY_COMPARE(m_at.size(), series);
        QTest::qWait(1000); // until the budget has recovered
        m_at.clear();
        m_poller->restart();
        QTRY_VERIFY(m_at.size() >= 2);
        QVERIFY2(m_at[1] - m_at[0] < 150, qPrintable(QString::number(m_at[1] - m_at[0])));
    }

private:
    /// Calls restart() every millisecond for the given time.
    void storm(int milliseconds)
    {
        QTimer opening;
        opening.setTimerType(Qt::PreciseTimer);
        connect(&opening, &QTimer::timeout, this, [this] { m_poller->restart(); });
        opening.start(1);
        QTest::qWait(milliseconds);
    }

    std::unique_ptr<LaunchPoller> m_poller;
    RateLimiter::Duration m_cost {};
    QElapsedTimer m_clock;
    QList<qint64> m_at; ///< ms since the test began
};

KESTRUM_TEST_MAIN(QCoreApplication, LaunchPollerTest)
#include "LaunchPollerTest.moc"
