// SPDX-License-Identifier: MIT
#include "Platform/Machine/Volumes.h"

#include "Platform/Machine/Worker.h"

#include <QFile>
#include <algorithm>
#include <atomic>

namespace kestrum {

/// What a worker and the main thread share. The main thread uses the answers up to `answered`, the worker those behind.
struct Volumes::Run {
    std::vector<MountTable::Volume> volumes; ///< asked in this order
    std::vector<std::optional<StorageUse::Room>> answers;
    std::atomic<std::size_t> answered = 0;
    std::atomic<std::size_t> wanted = 0; ///< how many are to be asked
};

struct Volumes::Asker {
    Asker() = default;
    /// Does not wait for the thread, which may have to wait for a core.
    ~Asker() { worker.leaveBehind(); }
    Asker(const Asker&) = delete;
    Asker& operator=(const Asker&) = delete;

    Worker worker;
    std::shared_ptr<Run> run; ///< none while nothing is asked
    std::size_t taken = 0;    ///< how many answers have been taken over
    Clock::time_point begin;
    bool isSilent = false; ///< whether it has waited for `longestAnswer`

    bool isFree() const { return !run && worker.isIdle(); }
};

Volumes::Volumes(const QString& root, StorageUse::Ask ask)
    : m_root(root)
    , m_ask(std::move(ask))
    , m_localAsker(std::make_unique<Asker>())
{
}

Volumes::~Volumes() = default;

void Volumes::begin()
{
    m_table.emplace(m_root);
    adoptTable();
}

void Volumes::end()
{
    m_table.reset();
    for (const auto& asker : m_askers)
        collect(*asker, asker->begin);
    collect(*m_localAsker, m_localAsker->begin);
    std::erase_if(m_askers, [](const auto& asker) { return asker->isFree(); });
    if (m_localAsker->isFree())
        m_localAsker = std::make_unique<Asker>();
}

void Volumes::adoptTable()
{
    const QList<MountTable::Volume>& volumes = m_table->volumes();
    std::vector<Entry> entries;
    for (const MountTable::Volume& volume : volumes.first(std::min<qsizetype>(volumes.size(), mostVolumes))) {
        const Entry* const known = find(volume);
        entries.push_back(known ? *known : Entry());
        entries.back().volume = volume;
    }
    m_entries = std::move(entries);
    // Some may come back while a worker is still waiting for them.
    for (const auto& asker : m_askers)
        markAsked(*asker);
    markAsked(*m_localAsker);
    m_more = int(volumes.size()) - int(m_entries.size());
}

void Volumes::markAsked(const Asker& asker)
{
    if (!asker.run)
        return;
    for (std::size_t i = asker.taken; i < asker.run->wanted.load(); ++i) {
        if (Entry* const entry = find(asker.run->volumes[i])) {
            entry->isAsked = true;
            entry->isSilent = asker.isSilent && i == asker.taken;
        }
    }
}

Volumes::Entry* Volumes::find(const MountTable::Volume& volume)
{
    const auto found = std::find_if(
        m_entries.begin(), m_entries.end(), [&volume](const Entry& entry) { return entry.volume == volume; });
    return found == m_entries.end() ? nullptr : &*found;
}

void Volumes::sample(const std::function<void()>& done, Clock::time_point now)
{
    if (m_table && m_table->update())
        adoptTable();
    collect(now);

    std::vector<Entry*> local;
    for (Entry& entry : m_entries) {
        if (entry.volume.kind != VolumeUse::Kind::network) {
            if (!entry.isAsked)
                local.push_back(&entry);
        } else if (!entry.isAsked && now >= entry.nextTime.value_or(now)) {
            auto* const asker = freeAsker();
            if (asker && start(**asker, { &entry }, done, now))
                entry.nextTime = now + networkInterval;
        }
    }
    if (!local.empty() && m_localAsker->isFree())
        start(*m_localAsker, local, done, now);
}

void Volumes::collect(Clock::time_point now)
{
    for (const auto& asker : m_askers)
        collect(*asker, now);
    collect(*m_localAsker, now);
    if (m_localAsker->run && now - m_localAsker->begin >= longestAnswer)
        freeThoseBehind(m_localAsker);
}

std::optional<Volumes::Clock::time_point> Volumes::nextSilence() const
{
    std::optional<Clock::time_point> next;
    const auto add = [&next](const Asker& asker) {
        if (asker.run && !asker.isSilent)
            next = std::min(next.value_or(Clock::time_point::max()), asker.begin + longestAnswer);
    };
    for (const auto& asker : m_askers)
        add(*asker);
    add(*m_localAsker);
    return next;
}

void Volumes::collect(Asker& asker, Clock::time_point now)
{
    if (!asker.run)
        return;
    const Run& run = *asker.run;
    const std::size_t wanted = run.wanted.load();
    const std::size_t answered = std::min(run.answered.load(std::memory_order_acquire), wanted);
    for (; asker.taken < answered; ++asker.taken) {
        Entry* const entry = find(run.volumes[asker.taken]);
        if (!entry)
            continue;
        entry->isAsked = entry->isSilent = false;
        entry->space.reset();
        if (const auto& room = run.answers[asker.taken])
            entry->space = { room->used, room->available };
    }
    if (asker.taken == wanted) {
        asker.run.reset();
    } else if (now - asker.begin >= longestAnswer) {
        asker.isSilent = true;
        if (Entry* const entry = find(run.volumes[asker.taken])) {
            entry->isSilent = true;
            entry->space.reset();
        }
    }
}

// The volume that the worker hangs on keeps the worker. Those behind it are left to another one.
void Volumes::freeThoseBehind(std::unique_ptr<Asker>& asker)
{
    auto* const other = freeAsker();
    if (!other)
        return;
    const std::size_t wanted = asker->taken + 1;
    const std::size_t last = asker->run->wanted.exchange(wanted);
    for (std::size_t i = wanted; i < last; ++i) {
        if (Entry* const entry = find(asker->run->volumes[i]))
            entry->isAsked = false;
    }
    std::swap(asker, *other);
}

std::unique_ptr<Volumes::Asker>* Volumes::freeAsker()
{
    const auto found
        = std::find_if(m_askers.begin(), m_askers.end(), [](const auto& asker) { return asker->isFree(); });
    if (found != m_askers.end())
        return &*found;
    if (m_askers.size() >= mostWaitedFor)
        return nullptr;
    return &m_askers.emplace_back(std::make_unique<Asker>());
}

bool Volumes::start(Asker& asker, const std::vector<Entry*>& entries, const std::function<void()>& done,
    Clock::time_point now)
{
    const auto run = std::make_shared<Run>();
    std::vector<QByteArray> paths;
    for (const Entry* entry : entries) {
        run->volumes.push_back(entry->volume);
        paths.push_back(QFile::encodeName(m_root) + entry->volume.path);
    }
    run->answers.resize(entries.size());
    run->wanted = entries.size();
    const bool isStarted = asker.worker.start(
        [run, paths, ask = m_ask] {
            for (std::size_t i = 0; i < run->wanted.load(); ++i) {
                run->answers[i] = StorageUse::read(paths[i], ask);
                run->answered.store(i + 1, std::memory_order_release);
            }
        },
        done);
    if (!isStarted)
        return false;
    asker.run = run;
    asker.taken = 0;
    asker.begin = now;
    asker.isSilent = false;
    for (Entry* entry : entries)
        entry->isAsked = true;
    return true;
}

QList<VolumeUse> Volumes::volumes() const
{
    QList<VolumeUse> result;
    for (const Entry& entry : m_entries) {
        result.append({ QFile::decodeName(entry.volume.path), entry.volume.name, entry.volume.kind,
            entry.space, entry.isSilent });
    }
    return result;
}

} // namespace kestrum
