#include "Platform/Processes/LaunchPoller.h"
#include "tests/TestHome.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QTest>
#include <memory>

using namespace kestrum;
using namespace std::chrono_literals;

namespace {

constexpr int allTime = 700; // ms; longer than all looks after an opening
constexpr int tolerance = 100;

void work(RateLimiter::Duration cost)
{
    const auto begin = RateLimiter::processorTime();
    while (RateLimiter::processorTime() - begin < cost) { }
}

} // namespace

class LaunchPollerTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init();

    void nothingIsLookedAtWithoutAnOpening();
    void looksComeSoonAndOnceMoreLate();
    void laterOpeningBeginsAnew();
    void manyOpeningsAtOnceAreOne();
    void stormOfOpeningsMakesFewLooks();
    void stormIsFollowedByAllLooks();
    void dearLooksAreMadeAllTheSame();
    void quietTimeMakesLooksPromptAgain();

private:
    /// Opens each millisecond for so long.
    void storm(int milliseconds);

    std::unique_ptr<LaunchPoller> m_looks;
    RateLimiter::Duration m_cost {};
    QElapsedTimer m_sinceBegin;
    QList<qint64> m_at; ///< ms since the test began
};

void LaunchPollerTest::init()
{
    m_cost = {};
    m_looks = std::make_unique<LaunchPoller>([this] {
        work(m_cost);
        m_at.append(m_sinceBegin.elapsed());
    });
    m_at.clear();
    m_sinceBegin.start();
}

void LaunchPollerTest::storm(int milliseconds)
{
    QTimer opening;
    opening.setTimerType(Qt::PreciseTimer);
    connect(&opening, &QTimer::timeout, this, [this] { m_looks->begin(); });
    opening.start(1);
    QTest::qWait(milliseconds);
}

void LaunchPollerTest::nothingIsLookedAtWithoutAnOpening()
{
    QTest::qWait(allTime);
    QCOMPARE(m_at, QList<qint64>());
}

void LaunchPollerTest::looksComeSoonAndOnceMoreLate()
{
    m_looks->begin();
    QCOMPARE(m_at.size(), 0); // from the event loop
    QTest::qWait(allTime);
    QCOMPARE(m_at.size(), 5);
    const int expected[] = { 0, 1, 5, 50, 500 };
    for (int i = 0; i < 5; ++i)
        QVERIFY2(m_at[i] >= expected[i] - 1 && m_at[i] < expected[i] + tolerance,
            qPrintable(QStringLiteral("look %1 after %2 ms").arg(i).arg(m_at[i])));
}

void LaunchPollerTest::laterOpeningBeginsAnew()
{
    m_looks->begin();
    QTest::qWait(200);
    QCOMPARE(m_at.size(), 4);
    const qint64 later = m_sinceBegin.elapsed();
    m_looks->begin();
    QTest::qWait(allTime);
    QCOMPARE(m_at.size(), 9);
    QVERIFY(m_at[4] - later < tolerance);
    QVERIFY(m_at[8] - later >= 499);
}

void LaunchPollerTest::manyOpeningsAtOnceAreOne()
{
    for (int i = 0; i < 1000; ++i)
        m_looks->begin();
    QTest::qWait(allTime);
    QCOMPARE(m_at.size(), 5);
}

void LaunchPollerTest::stormOfOpeningsMakesFewLooks()
{
    m_cost = 1ms;
    storm(2000);
    // 20 that were saved up, and three in a hundred milliseconds.
    QVERIFY2(m_at.size() <= 100, qPrintable(QString::number(m_at.size())));
    QVERIFY2(m_at.size() >= 20, qPrintable(QString::number(m_at.size())));
    // Never without any for long.
    for (qsizetype i = 1; i < m_at.size(); ++i)
        QVERIFY2(m_at[i] - m_at[i - 1] < 300, qPrintable(QString::number(m_at[i] - m_at[i - 1])));
}

void LaunchPollerTest::stormIsFollowedByAllLooks()
{
    m_cost = 1ms;
    storm(500);
    const qint64 last = m_sinceBegin.elapsed();
    m_looks->begin();
    const auto before = m_at.size();
    QTest::qWait(1500);
    QCOMPARE(m_at.size(), before + 5);
    QVERIFY(m_at.last() - last >= 499);
}

void LaunchPollerTest::dearLooksAreMadeAllTheSame()
{
    m_cost = 30ms;
    m_looks->begin();
    QTRY_COMPARE(m_at.size(), 5);
    QVERIFY(m_at[1] - m_at[0] >= 100);
}

void LaunchPollerTest::quietTimeMakesLooksPromptAgain()
{
    // Two of these are saved up; whoever has nothing left rests for 200 ms after one.
    m_cost = 10ms;
    storm(500);
    QTest::qWait(2500); // the last looks, and more than half a second to save
    m_at.clear();
    m_looks->begin();
    QTRY_VERIFY(m_at.size() >= 2);
    QVERIFY2(m_at[1] - m_at[0] < 150, qPrintable(QString::number(m_at[1] - m_at[0])));
}

KESTRUM_TEST_MAIN(QCoreApplication, LaunchPollerTest)
#include "LaunchPollerTest.moc"
