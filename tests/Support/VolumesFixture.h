// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Machine/Volumes.h"
#include "tests/Support/FileTree.h"

#include <QDir>
#include <QHash>
#include <QMutex>
#include <QSet>
#include <QTest>
#include <QThread>
#include <QWaitCondition>

namespace kestrum {

inline constexpr int volumePatience = 5000;
/// Less than one worker's patience at its end for each of the volumes that hang in a test.
inline constexpr int atOnce = 400;

inline QByteArray mountLine(int number, const QByteArray& path, const QByteArray& typeAndSource)
{
    const QByteArray id = QByteArray::number(number);
    return id + " 1 8:" + id + " / " + path + " rw shared:1 - " + typeAndSource + " rw\n";
}
inline QByteArray localLine(int number, const QByteArray& path)
{
    return mountLine(number, path, "ext4 /dev/disk" + QByteArray::number(number));
}
inline QByteArray shareLine(int number, const QByteArray& path)
{
    return mountLine(number, path, "nfs4 nas:" + path);
}

/// Volumes that answer or hang as a test wants. Of 100 blocks of 4 KiB, each has as many free as its path has characters. The
/// workers, which may outlive the test, share the state.
class StandInVolumes {
public:
    explicit StandInVolumes(const QString& root)
        : m_state(std::make_shared<State>())
    {
        m_state->rootSize = root.size();
    }
    ~StandInVolumes()
    {
        const QMutexLocker lock(&m_state->mutex);
        m_state->hanging.clear();
        m_state->changed.wakeAll();
    }
    StandInVolumes(const StandInVolumes&) = delete;
    StandInVolumes& operator=(const StandInVolumes&) = delete;

    void hang(const QByteArray& path) const
    {
        change([&](State& state) { state.hanging.insert(path); });
    }
    void answer(const QByteArray& path) const
    {
        change([&](State& state) { state.hanging.remove(path); });
    }
    void fail(const QByteArray& path) const
    {
        change([&](State& state) { state.failing.insert(path); });
    }
    int asked(const QByteArray& path) const
    {
        const QMutexLocker lock(&m_state->mutex);
        return int(m_state->threads.count(path));
    }
    QList<Qt::HANDLE> threads(const QByteArray& path) const
    {
        const QMutexLocker lock(&m_state->mutex);
        return m_state->threads.values(path);
    }
    QSet<QByteArray> allAsked() const
    {
        const QMutexLocker lock(&m_state->mutex);
        const QList<QByteArray> keys = m_state->threads.keys();
        return { keys.begin(), keys.end() };
    }

    StorageUse::Ask ask() const
    {
        return [state = m_state](const char* wholePath, struct statvfs* answer) {
            const QByteArray path = QByteArray(wholePath).mid(state->rootSize);
            const QMutexLocker lock(&state->mutex);
            state->threads.insert(path, QThread::currentThreadId());
            while (state->hanging.contains(path))
                state->changed.wait(&state->mutex);
            answer->f_frsize = 4096;
            answer->f_blocks = 100;
            answer->f_bfree = answer->f_bavail = fsblkcnt_t(path.size());
            return state->failing.contains(path) ? -1 : 0;
        };
    }

private:
    struct State {
        qsizetype rootSize = 0;
        QMutex mutex;
        QWaitCondition changed;
        QSet<QByteArray> hanging;
        QSet<QByteArray> failing;
        QMultiHash<QByteArray, Qt::HANDLE> threads; ///< a thread for each time that the path was asked
    };
    template <class Change> void change(const Change& make) const
    {
        const QMutexLocker lock(&m_state->mutex);
        make(*m_state);
        m_state->changed.wakeAll();
    }
    std::shared_ptr<State> m_state;
};

// What the list says of a volume's space: the number of free blocks, "silent", "-" without an answer, or "gone".
inline QByteArray spaceOf(const Volumes& volumes, const QByteArray& path)
{
    for (const VolumeUse& volume : volumes.volumes()) {
        if (volume.id.toUtf8() != path)
            continue;
        if (volume.isSilent)
            return volume.space ? "silent, but with space" : "silent";
        if (!volume.space)
            return "-";
        const double free = double(volume.space->free) / 4096;
        return qAbs(1 - free / 100 - volume.space->used) < 1e-9 ? QByteArray::number(free) : "odd share";
    }
    return "gone";
}

inline int threadCount()
{
    return int(QDir(QStringLiteral("/proc/self/task")).entryList(QDir::Dirs | QDir::NoDotAndDotDot).size());
}

/// Volumes on a machine of a test's own, whose time stands still unless the test moves it.
class VolumesFixture {
protected:
    void setUp()
    {
        if (m_threads == 0)
            m_threads = threadCount();
        m_tree = std::make_unique<FileTree>();
        m_standIns = std::make_unique<StandInVolumes>(m_tree->root());
        m_volumes = std::make_unique<Volumes>(m_tree->root(), m_standIns->ask());
        m_now = Volumes::Clock::time_point(std::chrono::hours(1));
    }

    void tearDown()
    {
        m_volumes.reset();
        m_standIns.reset();
    }

    void mount(const QByteArray& table) const { m_tree->write(QStringLiteral("proc/self/mountinfo"), table); }
    void sample(std::chrono::milliseconds after = {}) { m_volumes->sample({}, m_now += after); }
    QByteArray space(const QByteArray& path) const { return spaceOf(*m_volumes, path); }
    // Waits for an answer without any time passing for the volumes.
    bool becomes(const QByteArray& path, const QByteArray& expected) const
    {
        return QTest::qWaitFor(
            [&] {
                m_volumes->collect(m_now);
                return space(path) == expected;
            },
            volumePatience);
    }
    // Samples until the volume has been asked so often, without any time passing for the volumes: a worker that has just
    // answered may need a moment until it can be used again.
    bool isAsked(const QByteArray& path, int times) const
    {
        return QTest::qWaitFor(
            [&] {
                m_volumes->sample({}, m_now);
                return m_standIns->asked(path) >= times;
            },
            volumePatience);
    }

    // Whether all threads of earlier tests have ended, and no others are left but `more`.
    bool areThreadsLeft(int more) const
    {
        return QTest::qWaitFor([&] { return threadCount() == m_threads + more; }, volumePatience);
    }

    int m_threads = 0; ///< before the first test
    std::unique_ptr<FileTree> m_tree;
    std::unique_ptr<StandInVolumes> m_standIns;
    std::unique_ptr<Volumes> m_volumes;
    Volumes::Clock::time_point m_now;
};

} // namespace kestrum
