// SPDX-License-Identifier: MIT
// Reads use the values in memory. The values are compared with the file after
//   - a change of the counter that all processes share. A writer advances the counter after it has replaced the file. So an
//     unchanged counter means that no save has ended since the last check. Without a counter, every read checks the file.
//   - a change in a watched directory, from the first observer of `changed` on. Only the watch notices changes by an editor.
// A changed file is read again. `changed` is emitted only for changed values, so a save of this process is reported only once.
// A mutex guards all members except the watches, which only the main thread uses. The mutex is not locked while the file is
// saved. If another process saves at that time, the counter gets an unexpected value, and the next read checks the file.

#include "Platform/Store/UserDefaults.h"

#include "Platform/Bundle/Bundle.h"
#include "Platform/Files/FileName.h"
#include "Platform/Files/FilePath.h"
#include "Platform/Log/Identifier.h"
#include "Platform/Log/Log.h"
#include "Platform/Store/GenerationCounter.h"
#include "Platform/Store/LayeredSettings.h"
#include "Platform/Store/SettingsDoubt.h"
#include "Platform/Store/SettingsFile.h"
#include "Platform/Store/SettingsWatch.h"

#include <QCoreApplication>
#include <QMetaMethod>
#include <QThread>
#include <QTimer>
#include <chrono>
#include <mutex>
#include <set>

namespace kestrum {
namespace {

constexpr char fileSuffix[] = ".json";
/// How long a file that cannot be read is left alone while somebody observes it.
constexpr std::chrono::seconds pauseBetweenLooks { 2 };

QString standardName()
{
    const QString identifier = Bundle::main().identifier();
    return FileName::encoded(identifier, fileSuffix) ? identifier : QString(applicationIdentifier);
}

QString fileIn(const QString& directory, const QString& name)
{
    return directory + QStringLiteral("/kestrum/")
        + QString::fromLatin1(FileName::encoded(name, fileSuffix).value_or(QByteArray()));
}

QJsonObject administeredValues(const QString& name)
{
    QJsonObject values;
    const QStringList directories = FilePath::systemConfigDirectories();
    for (const QString& directory : directories) {
        const auto content = SettingsFile(fileIn(directory, name), SettingsFile::Owner::anybody).read();
        if (!content) {
            Log::warnOnce(SettingsFile::logArea, Log::escaped(content.failure()));
            continue;
        }
        for (auto value = content->values.begin(); value != content->values.end(); ++value) {
            if (!values.contains(value.key())) // the first directory wins
                values.insert(value.key(), value.value());
        }
    }
    return values;
}

} // namespace

struct UserDefaults::Domain {
    Domain(UserDefaults* owner, const QString& domainName)
        : defaults(owner)
        , name(domainName)
        , file(fileIn(FilePath::configDirectory(), domainName))
        , counter(GenerationCounter::open(domainName))
        , seenGeneration(generation())
        , watch(file, [this] { scheduleCheck(); })
    {
        values.setAdministered(administeredValues(name));
        adopt(file.readFirst());
    }

    quint64 generation() const { return counter ? counter->value() : 0; }

    /// Checks the file if the values may be out of date, and then returns `get(values)`.
    template <class Get> auto read(Get get)
    {
        const std::scoped_lock lock(mutex);
        if (doubt.isOpen() || !counter || counter->value() != seenGeneration || !counter->isShared())
            check();
        return get(values);
    }

    void check();
    void adopt(const Result<SettingsFile::Content>& content);
    bool save(const SettingsFile::Changes& changes);
    void scheduleNotice(const QStringList& keys);
    void checkAndFollow();
    void scheduleCheck();
    void scheduleLaterCheck(std::chrono::milliseconds pause);

    UserDefaults* const defaults;
    const QString name;
    const SettingsFile file;
    const std::unique_ptr<GenerationCounter> counter;

    std::mutex mutex; ///< guards the members from here to `watch`
    LayeredSettings values;
    SettingsFile::Identity identity; ///< of the file that `values` were read from
    bool isIdentityCertain = false;
    SettingsDoubt doubt;
    quint64 seenGeneration = 0; ///< the counter's value before the last check
    std::optional<Failure> readFailure;
    std::optional<Failure> saveFailure;
    SettingsFile::Identity
        synced; ///< of the last file that this object knows to be on disk, together with its entry
    bool isObserved = false;
    bool isNoticeScheduled = false;
    std::set<QString> changedKeys; ///< keys changed since the last emission of `changed`
    bool isLaterCheckScheduled = false;

    // Only the main thread uses the following members.
    SettingsWatch watch;
    bool isCheckScheduled = false;
};

void UserDefaults::Domain::check()
{
    const quint64 now = generation(); // read before the file, so that a save in between causes another check
    if (doubt.isOpen() || !isIdentityCertain || readFailure || file.identity() != identity) {
        const auto content = file.read();
        if (doubt.concerns(content))
            scheduleLaterCheck(SettingsFile::believedAfter);
        else
            adopt(content);
    }
    // What could not be read may be readable at the next look, which no event tells.
    if (readFailure)
        scheduleLaterCheck(pauseBetweenLooks);
    else
        seenGeneration = now;
}

/// Takes the values from `content`. If the file could not be read, the values stay unchanged.
void UserDefaults::Domain::adopt(const Result<SettingsFile::Content>& content)
{
    if (!content) {
        readFailure = content.failure();
        Log::warnOnce(SettingsFile::logArea, Log::escaped(content.failure()));
        return;
    }
    readFailure.reset();
    identity = content->identity;
    isIdentityCertain = !content->isFresh;
    doubt.settle(*content);
    if (content->values == values.stored())
        return;
    scheduleNotice(values.setStored(content->values));
}

void UserDefaults::Domain::scheduleNotice(const QStringList& keys)
{
    if (!isObserved)
        return;
    changedKeys.insert(keys.begin(), keys.end());
    if (std::exchange(isNoticeScheduled, true))
        return;
    const auto notify = [this] {
        std::unique_lock lock(mutex);
        isNoticeScheduled = false;
        const auto names = std::exchange(changedKeys, {});
        lock.unlock();
        Q_EMIT defaults->changed(QStringList(names.begin(), names.end()));
    };
    QMetaObject::invokeMethod(defaults, notify, Qt::QueuedConnection);
}

bool UserDefaults::Domain::save(const SettingsFile::Changes& changes)
{
    {
        const std::scoped_lock lock(mutex);
        check();
        // Another process may have written these values, but failed to bring them to disk.
        const bool isOnDisk = !readFailure && !doubt.isOpen() && identity == synced;
        if (isOnDisk && changes.appliedTo(values.stored()) == values.stored())
            return true;
    }

    const quint64 before = generation();
    const SettingsFile::Saved saved = file.save(changes);
    if (saved.changed && counter)
        counter->advance();

    const std::scoped_lock lock(mutex);
    if (!saved) {
        saveFailure = saved.failure();
        Log::warnOnce(SettingsFile::logArea, Log::escaped(saved.failure()));
        const auto notify = [this, reason = saved.failureText()] { Q_EMIT defaults->saveFailed(reason); };
        if (defaults->isSignalConnected(QMetaMethod::fromSignal(&UserDefaults::saveFailed)))
            QMetaObject::invokeMethod(defaults, notify, Qt::QueuedConnection);
        return false;
    }

    adopt(saved);
    synced = saved->identity;
    // If only this save has advanced the counter, no other save was missed.
    const quint64 expected = before + (saved.changed ? 1 : 0);
    seenGeneration = generation() == expected ? expected : before;
    if (saveFailure) {
        saveFailure.reset();
        const auto notify = [this] { Q_EMIT defaults->saveSucceeded(); };
        if (defaults->isSignalConnected(QMetaMethod::fromSignal(&UserDefaults::saveSucceeded)))
            QMetaObject::invokeMethod(defaults, notify, Qt::QueuedConnection);
    }
    return true;
}

void UserDefaults::Domain::checkAndFollow()
{
    isCheckScheduled = false;
    watch.follow();
    const std::scoped_lock lock(mutex);
    check();
}

/// Schedules one check for all events of one turn of the event loop. The check must not run inside the handler of a watch,
/// because `follow` can destroy this watch.
void UserDefaults::Domain::scheduleCheck()
{
    if (!std::exchange(isCheckScheduled, true))
        QMetaObject::invokeMethod(
            defaults, [this] { checkAndFollow(); }, Qt::QueuedConnection);
}

/// No file event reports that a doubtful state has lasted long enough, so a timer starts the check.
void UserDefaults::Domain::scheduleLaterCheck(std::chrono::milliseconds pause)
{
    if (!isObserved || isLaterCheckScheduled)
        return;
    isLaterCheckScheduled = true;
    const auto checkAgain = [this] {
        {
            const std::scoped_lock lock(mutex);
            isLaterCheckScheduled = false;
        }
        scheduleCheck();
    };
    const auto wait
        = [this, checkAgain, pause] { QTimer::singleShot(pause, Qt::PreciseTimer, defaults, checkAgain); };
    QMetaObject::invokeMethod(defaults, wait, Qt::QueuedConnection);
}

UserDefaults::UserDefaults(const QString& name)
    : m_domain(std::make_unique<Domain>(this, name))
{
    // Without an application object, the current thread becomes the main thread.
    const auto* application = QCoreApplication::instance();
    if (application && application->thread() != thread())
        moveToThread(application->thread());
}

UserDefaults::~UserDefaults() = default;

UserDefaults& UserDefaults::standard()
{
    // Never destroyed: settings may be read while the process ends.
    static auto* const defaults = new UserDefaults(standardName());
    return *defaults;
}

std::unique_ptr<UserDefaults> UserDefaults::withSuiteName(const QString& suiteName)
{
    if (!FileName::encoded(suiteName, fileSuffix) || suiteName == standardName())
        return nullptr;
    return std::unique_ptr<UserDefaults>(new UserDefaults(suiteName));
}

QString UserDefaults::name() const
{
    return m_domain->name;
}

QString UserDefaults::filePath() const
{
    return m_domain->file.path();
}

SettingsSnapshot UserDefaults::snapshot() const
{
    return m_domain->read([](const LayeredSettings& values) { return values.snapshot(); });
}

QJsonValue UserDefaults::object(std::string_view key) const
{
    return m_domain->read([&](const LayeredSettings& values) { return values.snapshot().object(key); });
}

std::optional<QString> UserDefaults::string(std::string_view key) const
{
    return m_domain->read([&](const LayeredSettings& values) { return values.snapshot().string(key); });
}

std::optional<bool> UserDefaults::boolean(std::string_view key) const
{
    return m_domain->read([&](const LayeredSettings& values) { return values.snapshot().boolean(key); });
}

std::optional<double> UserDefaults::number(std::string_view key) const
{
    return m_domain->read([&](const LayeredSettings& values) { return values.snapshot().number(key); });
}

QJsonObject UserDefaults::dictionary() const
{
    return m_domain->read([](const LayeredSettings& values) { return values.inEffect(); });
}

QJsonObject UserDefaults::storedDictionary() const
{
    return m_domain->read([](const LayeredSettings& values) { return values.stored(); });
}

void UserDefaults::registerDefaults(const QJsonObject& defaults)
{
    const std::scoped_lock lock(m_domain->mutex);
    m_domain->values.addRegistered(defaults);
}

bool UserDefaults::set(std::string_view key, const QJsonValue& value)
{
    const QString name = QString::fromUtf8(key.data(), qsizetype(key.size()));
    return value.isUndefined() ? apply({}, { name }) : apply({ { name, value } }, {});
}

bool UserDefaults::remove(std::string_view key)
{
    return apply({}, { QString::fromUtf8(key.data(), qsizetype(key.size())) });
}

bool UserDefaults::apply(const QJsonObject& values, const QStringList& removedKeys)
{
    return m_domain->save({ values, removedKeys });
}

QString UserDefaults::lastError() const
{
    const std::scoped_lock lock(m_domain->mutex);
    const auto& failure = m_domain->saveFailure ? m_domain->saveFailure : m_domain->readFailure;
    return failure ? failure->text() : QString();
}

SettingsFile::Trouble UserDefaults::lastTrouble() const
{
    const std::scoped_lock lock(m_domain->mutex);
    const auto& failure = m_domain->saveFailure ? m_domain->saveFailure : m_domain->readFailure;
    return failure ? SettingsFile::troubleOf(*failure) : SettingsFile::Trouble::none;
}

void UserDefaults::observe(const QStringList& keys, QObject* owner, std::function<void()> function) const
{
    connect(this, &UserDefaults::changed, owner,
        [keys, function = std::move(function)](const QStringList& changedKeys) {
            for (const QString& key : keys) {
                if (changedKeys.contains(key))
                    return function();
            }
        });
}

void UserDefaults::synchronize()
{
    m_domain->checkAndFollow();
}

void UserDefaults::sweepLeftovers()
{
    m_domain->file.sweepLeftovers();
}

void UserDefaults::connectNotify(const QMetaMethod& signal)
{
    if (signal != QMetaMethod::fromSignal(&UserDefaults::changed))
        return;
    {
        const std::scoped_lock lock(m_domain->mutex);
        if (std::exchange(m_domain->isObserved, true))
            return;
    }
    if (QCoreApplication::instance() && QThread::currentThread() == thread())
        m_domain->checkAndFollow();
    else
        QMetaObject::invokeMethod(
            this, [this] { m_domain->checkAndFollow(); }, Qt::QueuedConnection);
}

} // namespace kestrum
