#include "Platform/Machine/Worker.h"
#include "tests/Support/TestHome.h"

#include <QSemaphore>
#include <QTest>
#include <atomic>
#include <memory>

using namespace kestrum;

namespace {

constexpr int patience = 5000; // milliseconds

} // namespace

class WorkerTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void whoIsToldOfTheEndCanStartTheNextJob()
    {
        QSemaphore told;
        std::atomic<int> jobs = 0;
        std::atomic<bool> wasIdle = true;
        Worker worker;
        for (int job = 1; job <= 200; ++job) {
            QVERIFY(worker.isIdle());
            QVERIFY(worker.start([&] { ++jobs; },
                [&] {
                    if (!worker.isIdle())
                        wasIdle = false;
                    told.release();
                }));
            QVERIFY(told.tryAcquire(1, patience));
            QCOMPARE(jobs.load(), job);
        }
        QVERIFY(wasIdle);
    }

    void aJobThatWaitsWhenTheWorkerGoesIsDone()
    {
        const auto isDone = std::make_shared<QSemaphore>();
        {
            const auto isTold = std::make_shared<QSemaphore>();
            const auto goOn = std::make_shared<QSemaphore>();
            Worker worker;
            QVERIFY(worker.start([] {},
                [isTold, goOn] {
                    isTold->release();
                    goOn->acquire();
                }));
            QVERIFY(isTold->tryAcquire(1, patience));
            QVERIFY(worker.start([isDone] { isDone->release(); }));
            worker.leaveBehind();
            goOn->release();
        }
        QVERIFY(isDone->tryAcquire(1, patience));
    }

    void leftBehindAJobRunsOnAndTheWorkerIsAsNew()
    {
        const auto goOn = std::make_shared<QSemaphore>();
        const auto isDone = std::make_shared<QSemaphore>();
        Worker worker;
        QVERIFY(worker.start([goOn] { goOn->acquire(); }, [isDone] { isDone->release(); }));
        QVERIFY(!worker.isIdle());
        worker.leaveBehind();
        QVERIFY(worker.isIdle());
        QVERIFY(worker.start([goOn] { goOn->release(); }));
        QVERIFY(isDone->tryAcquire(1, patience));
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, WorkerTest)
#include "WorkerTest.moc"
