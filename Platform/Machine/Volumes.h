// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Machine/MountTable.h"
#include "Platform/Machine/StorageUse.h"
#include "Platform/Machine/VolumeUse.h"

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <vector>

namespace kestrum {

/// The volumes and their space while they are shown. Workers ask for the space, because a volume may never answer: the volumes
/// of this machine are asked together by one, and each network volume by one of its own. Main thread only, which never waits.
class Volumes {
public:
    using Clock = std::chrono::steady_clock;
    static constexpr int mostVolumes = 6;
    /// A volume that has not answered for this long is silent. It is not asked again until it answers.
    static constexpr std::chrono::seconds longestAnswer { 2 };
    /// How often a network volume is asked at most.
    static constexpr std::chrono::seconds networkInterval { 10 };
    /// How many volumes are waited for at a time, besides those of this machine that answer. Any others stay without space.
    static constexpr int mostWaitedFor = 4;

    /// `root` is put before the table of mounts and before the volumes' paths. Tests pass a function that hangs.
    explicit Volumes(const QString& root = {}, StorageUse::Ask ask = ::statvfs);
    /// Leaves volumes that do not answer to their threads, without waiting.
    ~Volumes();
    Volumes(const Volumes&) = delete;
    Volumes& operator=(const Volumes&) = delete;

    /// Call this before the first sample. Reads the table of mounts, so that `volumes` is complete but for new space. What is
    /// known of a volume since it was last shown is still there, also that it is silent.
    void begin();
    /// Has the volumes asked that are due, and takes over the answers to earlier calls. Each worker calls `done`, which may be
    /// empty, on its own thread when its answers can be taken over. `now` is a parameter for tests.
    void sample(const std::function<void()>& done = {}, Clock::time_point now = Clock::now());
    /// Only takes over answers.
    void collect(Clock::time_point now = Clock::now());
    /// When a volume that is being asked becomes silent, if it does not answer before; nothing if there is none. `collect`
    /// takes note of it.
    std::optional<Clock::time_point> nextSilence() const;
    /// Call this when the volumes are no longer shown. Nothing is left but threads that wait for silent volumes.
    void end();

    /// At most `mostVolumes`, in the order in which they are shown.
    QList<VolumeUse> volumes() const;
    /// How many volumes `volumes` leaves out.
    int more() const { return m_more; }

private:
    struct Entry {
        MountTable::Volume volume;
        std::optional<VolumeUse::Space> space;
        bool isAsked = false;
        bool isSilent = false;
        std::optional<Clock::time_point> nextTime; ///< when a network volume may be asked again
    };
    struct Run;
    struct Asker;
    void adoptTable();
    void markAsked(const Asker& asker);
    Entry* find(const MountTable::Volume& volume);
    void collect(Asker& asker, Clock::time_point now);
    void freeThoseBehind(std::unique_ptr<Asker>& asker);
    std::unique_ptr<Asker>* freeAsker();
    bool start(Asker& asker, const std::vector<Entry*>& entries, const std::function<void()>& done,
        Clock::time_point now);

    QString m_root;
    StorageUse::Ask m_ask;
    std::optional<MountTable> m_table; ///< only between `begin` and `end`
    std::vector<Entry> m_entries;
    int m_more = 0;
    std::unique_ptr<Asker> m_localAsker;
    std::vector<std::unique_ptr<Asker>> m_askers; ///< of one volume each
};

} // namespace kestrum
