#pragma once

#include "KestrumShared/Readings/AppListReader.h"
#include "Platform/Machine/Bell.h"
#include "tests/Support/FileTree.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QSemaphore>
#include <QTest>
#include <QThread>
#include <atomic>
#include <memory>
#include <optional>

namespace kestrum {

using namespace std::chrono_literals;

/// A machine with a few processes, and the list of its apps.
class AppListFixture {
public:
    AppListFixture()
        : list(
            m_tree.root(), bell.rope(),
            [this, hold = m_hold] {
                const bool isWorker = QThread::currentThread() != QCoreApplication::instance()->thread();
                const auto now
                    = stopped.value_or(AppListReader::Clock::now()) + passed + (isWorker ? late : 0ms);
                if (isWorker && hold->isOn) {
                    ++hold->waiting;
                    hold->wake.acquire();
                    --hold->waiting;
                }
                return now;
            },
            [hold = m_hold](const TopApps& apps) { return hold->cost.value_or(apps.cost()); }, 0ms)
    {
        QObject::connect(&bell, &Bell::rung, [this] { list.collect(); });
        setTicks(0);
    }

    ~AppListFixture() { letGo(); }
    Q_DISABLE_COPY_MOVE(AppListFixture)

    /// Makes scans hang that begin from now on, until `hangNoMore`. They go on at `letGo`, or at the end of the test.
    void hang() const { m_hold->isOn = true; }
    void hangNoMore() const { m_hold->isOn = false; }
    void letGo() const
    {
        hangNoMore();
        m_hold->wake.release(10);
    }
    /// How many scans hang.
    int hanging() const { return m_hold->waiting; }

    /// Sets the processor time and the rates of the processes: `ticks` times the given numbers.
    void setTicks(int ticks, int ofFirst = 3, int ofSecond = 2) const
    {
        for (const auto& [pid, name, share] :
            { std::tuple { 7, "first", ofFirst }, { 8, "second", ofSecond }, { 9, "idle", 0 } }) {
            const QByteArray id = QByteArray::number(pid);
            const QString folder = QStringLiteral("proc/%1/").arg(pid);
            m_tree.write(folder + QStringLiteral("stat"),
                id + " (" + name + ") S 1 7 7 0 -1 0 0 0 0 0 " + QByteArray::number(ticks * share)
                    + " 0 0 0 20 0 1 0 100 0 10\n");
            m_tree.write(folder + QStringLiteral("statm"),
                "900 " + QByteArray::number(100 * (10 - pid)) + " 0 1 0 1 0\n");
            m_tree.write(folder + QStringLiteral("io"),
                "read_bytes: " + QByteArray::number(ticks * share * 1000)
                    + "\nwrite_bytes: 0\ncancelled_write_bytes: 0\n");
        }
    }
    QStringList names() const
    {
        QStringList result;
        for (const AppUse& app : list.rows())
            result.append(app.name);
        return result;
    }
    /// Waits until a scan is over that began before.
    void finish()
    {
        const QDeadlineTimer end(5000);
        while (list.isScanning() && !end.hasExpired()) {
            QThread::usleep(100);
            list.collect();
        }
        QVERIFY(!list.isScanning());
    }

private:
    /// The workers, which may outlive the test, share it.
    struct Hold {
        std::atomic<bool> isOn = false;
        std::atomic<int> waiting = 0;
        QSemaphore wake;
        std::optional<AppListReader::Clock::duration> cost;
    };
    const std::shared_ptr<Hold> m_hold = std::make_shared<Hold>();
    FileTree m_tree;

public:
    std::chrono::milliseconds passed {};                     ///< besides the time that really passes
    std::chrono::milliseconds late {};                       ///< how much later the workers begin
    std::optional<AppListReader::Clock::time_point> stopped; ///< since when no time really passes
    /// What each scan costs, if not what it really costs.
    std::optional<AppListReader::Clock::duration>& cost = m_hold->cost;
    Bell bell;
    AppListReader list;
};

} // namespace kestrum
