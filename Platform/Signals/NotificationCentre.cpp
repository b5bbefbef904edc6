// SPDX-License-Identifier: MIT
// A signal is posted by a change of a file's time stamps. Each signal name has an empty file in a private directory of the
// user. A post sets the times of this file, or creates the file. A listener watches the directory. This needs no daemon. The
// kernel merges unread events. A listener that hangs does not block other processes.
//
// One post must cause only one event; otherwise listeners would be notified twice. So a post opens a new file for reading only:
// the watch reports the close of a file only if the file was open for writing.
//
// An event does not prove that a signal was posted: the kernel also reports changed modes, removed files and queue overflows.
// Such an event must not end the agent or bring the window forward. So each registration stores the last time stamp that it has
// seen, and its handler runs only if the file has a different time stamp. The kernel's own time stamps change only once per
// timer tick, and two posts may happen within one tick. So a post sets the exact time. Time stamps are compared for inequality,
// because the clock can be set back.

#include "Platform/Signals/NotificationCentre.h"

#include "Platform/Files/DirectoryWatch.h"
#include "Platform/Files/FileName.h"
#include "Platform/Files/FilePath.h"
#include "Platform/Files/RuntimeDirectory.h"
#include "Platform/Log/Log.h"

#include <QByteArrayList>
#include <QCoreApplication>
#include <QHash>
#include <QMetaObject>
#include <algorithm>
#include <atomic>
#include <cerrno>
#include <ctime>
#include <fcntl.h>
#include <map>
#include <memory>
#include <sys/stat.h>
#include <utility>
#include <vector>

namespace kestrum {

namespace {

using NotificationCentre::Token;

constexpr const char* signalsName = "signals";
constexpr const char* pathBelowRoot = "kestrum/signals/";

void warnLocalOnly(const Failure& failure)
{
    Log::warnOnce("signals", QStringLiteral("Signals stay within this program: %1").arg(failure.text()));
}

// Returns the file name of the signal `name`. A signal's file has no companion files, so the name may use the full length. So
// the signal names of every valid settings suite fit, although they are longer than the suite's name.
std::optional<QByteArray> fileNameOf(const QString& name)
{
    return FileName::encoded(name, {}, FileName::Room::none);
}

// The time of a signal's last post, in nanoseconds since 1970; nothing if there was no post.
using PostTime = std::optional<qint64>;
using SharedDirectory = std::shared_ptr<const RuntimeDirectory>;

// Posts signals and reads the times of posts. Thread-safe. Each `path` is relative to $XDG_RUNTIME_DIR.
class SignalWriter {
public:
    // Fails if other processes cannot receive the signal.
    Result<> post(const QByteArray& path)
    {
        if (const auto known = m_root.load(); known && touch(*known, path))
            return {};
        // This is the first post, or the directory is gone and must be found or created again.
        const auto root = open();
        const Result<> posted = root ? touch(**root, path) : root.failure();
        if (!posted)
            warnLocalOnly(posted.failure());
        return posted;
    }

    // Reads the time in the directory that was opened last. This directory is also the watched directory.
    PostTime lastPost(const QByteArray& path) const
    {
        const auto known = m_root.load();
        struct stat state;
        if (!known || ::fstatat(known->rootDescriptor(), path.constData(), &state, AT_SYMLINK_NOFOLLOW) != 0)
            return std::nullopt;
        return FilePath::nanoseconds(state.st_mtim);
    }

    // Opens the runtime directory, and creates the signals' directory in it if needed.
    Result<SharedDirectory> open()
    {
        auto opened = RuntimeDirectory::reopen();
        if (!opened)
            return opened.failure();
        if (const auto made = opened->openSubdirectory(signalsName); !made)
            return made.failure().about(Log::escaped(opened->path()) + u'/' + QLatin1String(signalsName));
        const auto root = std::make_shared<const RuntimeDirectory>(std::move(*opened));
        m_root.store(root);
        return root;
    }

    // Calls `open`. If `open` fails, logs a warning and returns null.
    SharedDirectory openOrWarn()
    {
        const auto root = open();
        if (!root)
            warnLocalOnly(root.failure());
        return root ? *root : nullptr;
    }

private:
    static Result<> touch(const RuntimeDirectory& directory, const QByteArray& path)
    {
        const int root = directory.rootDescriptor();
        if (FilePath::setExactTime(root, path.constData()))
            return {};
        const FileDescriptor made(::openat(
            root, path.constData(), O_RDONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, S_IRUSR | S_IWUSR));
        // EEXIST: another process has just created the file.
        if (made.isValid() || (errno == EEXIST && FilePath::setExactTime(root, path.constData())))
            return {};
        return Failure::withReason(qt_error_string(errno))
            .about(Log::escaped(directory.path()) + u'/' + QLatin1String(signalsName));
    }

    std::atomic<SharedDirectory> m_root;
};

SignalWriter& signalWriter()
{
    // Never destroyed: other threads can post while the process ends.
    static auto* const writer = new SignalWriter;
    return *writer;
}

// The registrations of this process. Main thread only, except `newest` and `isUnwatched`.
class SignalRegistry {
public:
    Token add(const QByteArray& fileName, std::function<void()> handler)
    {
        if (!m_watch)
            startWatch();
        const Token token = ++m_newest;
        // Posts before this registration count as seen: only older registrations are notified of these posts.
        m_registrations.emplace(token,
            Registration { fileName,
                m_isUnwatched ? now() : signalWriter().lastPost(pathBelowRoot + fileName),
                std::make_shared<const std::function<void()>>(std::move(handler)) });
        return token;
    }

    void remove(Token token)
    {
        m_registrations.erase(token);
        if (m_registrations.empty()) {
            m_watch.reset();
            m_isUnwatched = false;
        }
    }

    // Whether there are registrations but the directory could not be opened yet. Thread-safe.
    bool isUnwatched() const { return m_isUnwatched; }

    // The token of the newest registration. A registration that is made after a post does not receive the post. Thread-safe.
    Token newest() const { return m_newest; }

    // Delivers a post of this process without the file: runs the handlers of the registrations up to `newest`.
    void deliverLocally(const QByteArray& fileName, Token newest)
    {
        deliver(newest, [this, &fileName](Registration& one) {
            // The post may have reached the file all the same.
            if (one.fileName == fileName && m_isUnwatched)
                one.lastSeen = std::max(one.lastSeen, signalWriter().lastPost(pathBelowRoot + fileName));
            return one.fileName == fileName ? PostTime(0) : std::nullopt;
        });
        // The directory may exist by now, so the watch may succeed.
        if (m_isUnwatched && !m_registrations.empty())
            startWatchLate();
    }

private:
    struct Registration {
        QByteArray fileName;
        // The file's time, or that of the registration if the directory could not be opened. Not reset if the file is removed,
        // because the file may come back unchanged.
        PostTime lastSeen;
        std::shared_ptr<const std::function<void()>>
            handler; // shared, so that a running handler survives the removal of its own registration
    };

    // A directory that cannot be opened yet is watched all the same: its first change may be that it can be opened.
    void startWatch()
    {
        const bool isOpen = signalWriter().openOrWarn() != nullptr;
        const QString path = RuntimeDirectory::expectedPath();
        if (!m_watch && !path.isEmpty())
            m_watch = std::make_unique<DirectoryWatch>(path + QLatin1Char('/') + QLatin1String(signalsName),
                DirectoryWatch::Interest::touched, [this](const QByteArray& entry) { handleChange(entry); });
        m_isUnwatched = !isOpen || !m_watch;
    }

    // Delivers what was posted after the registrations that were made before the directory could be opened.
    void startWatchLate()
    {
        startWatch();
        if (m_isUnwatched)
            return;
        deliver(m_newest, [](Registration& one) {
            const PostTime time = signalWriter().lastPost(pathBelowRoot + one.fileName);
            return std::exchange(one.lastSeen, time) < time ? time : std::nullopt;
        });
    }

    static PostTime now()
    {
        struct timespec time;
        ::clock_gettime(CLOCK_REALTIME, &time);
        return FilePath::nanoseconds(time);
    }

    void handleChange(const QByteArray& entry)
    {
        if (m_isUnwatched) {
            startWatchLate();
            return;
        }
        QByteArrayList names { entry };
        names += m_watch->takePending();
        const bool isAnything = names.contains(QByteArray());
        // The directory may have been replaced. A missing directory is created, so that the next post causes an event again.
        if (isAnything && !signalWriter().openOrWarn())
            return;
        QHash<QByteArray, PostTime> times; // the time of each name is read only once
        deliver(m_newest, [&](Registration& one) {
            if (!isAnything && !names.contains(one.fileName))
                return PostTime();
            auto time = times.constFind(one.fileName);
            if (time == times.constEnd())
                time = times.insert(one.fileName, signalWriter().lastPost(pathBelowRoot + one.fileName));
            return *time && std::exchange(one.lastSeen, *time) != *time ? *time : std::nullopt;
        });
    }

    // Runs the handlers of the registrations up to `newest` for which `timeOfPost` returns a time: in the order of the posts, since
    // of two requests the last one counts, and for one signal in the order of registration. A handler may add registrations
    // and remove any registration, including its own.
    template <class TimeOfPost> void deliver(Token newest, TimeOfPost timeOfPost)
    {
        std::vector<std::pair<qint64, Token>> due;
        for (auto at = m_registrations.begin(); at != m_registrations.end() && at->first <= newest; ++at) {
            if (const PostTime time = timeOfPost(at->second))
                due.emplace_back(*time, at->first);
        }
        std::sort(due.begin(), due.end());
        for (const auto& [time, token] : due) {
            const auto found = m_registrations.find(token);
            if (found == m_registrations.end())
                continue;
            const auto handler = found->second.handler;
            (*handler)();
        }
    }

    std::map<Token, Registration> m_registrations;
    std::atomic<Token> m_newest = 0;
    std::atomic<bool> m_isUnwatched = false;
    std::unique_ptr<DirectoryWatch> m_watch;
};

SignalRegistry& signalRegistry()
{
    static auto* const registry = new SignalRegistry;
    return *registry;
}

} // namespace

QString NotificationCentre::post(const QString& name)
{
    // A program posts the same few names again and again, so the last file name is cached.
    thread_local QString lastName;
    thread_local std::optional<QByteArray> fileName;
    if (name != lastName) {
        lastName = name;
        fileName = fileNameOf(name);
    }
    if (!fileName)
        return QStringLiteral("\"%1\" makes no name of a file").arg(Log::escaped(name));
    const Result<> posted = signalWriter().post(pathBelowRoot + *fileName);
    if ((!posted || signalRegistry().isUnwatched()) && QCoreApplication::instance()) {
        const auto deliver = [fileName = *fileName, newest = signalRegistry().newest()] {
            signalRegistry().deliverLocally(fileName, newest);
        };
        QMetaObject::invokeMethod(QCoreApplication::instance(), deliver, Qt::QueuedConnection);
    }
    return posted.failureText();
}

QString NotificationCentre::obstacle()
{
    return signalWriter().open().failureText();
}

std::optional<Token> NotificationCentre::registerDispatch(const QString& name, std::function<void()> handler)
{
    const std::optional<QByteArray> fileName = fileNameOf(name);
    if (!fileName || !handler)
        return std::nullopt;
    return signalRegistry().add(*fileName, std::move(handler));
}

std::optional<double> NotificationCentre::lastPost(const QString& name)
{
    const std::optional<QByteArray> fileName = fileNameOf(name);
    if (!fileName || !signalWriter().openOrWarn())
        return std::nullopt;
    const PostTime time = signalWriter().lastPost(pathBelowRoot + *fileName);
    return time ? std::optional(double(*time) / 1e9) : std::nullopt;
}

void NotificationCentre::cancel(Token token)
{
    signalRegistry().remove(token);
}

} // namespace kestrum
