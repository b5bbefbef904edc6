// A signal is the time stamp of a file. Every name has an empty file in a private directory of the user; to
// post is to set its times (or to create it, the first time), to listen is to watch the directory. No daemon
// is needed, the kernel merges what nobody has read yet, and a listener that is stuck holds up nobody.
//
// One post must be one event, or listeners would be told twice: a file is created by an open for reading,
// whose close is of no interest to the watch.
//
// An event is only a reason to look, for the kernel also tells of what is no post: a mode that was changed, a file that was
// removed, a queue that ran over. A registration remembers the time that it saw last, and hears of another one only. So a
// post sets the exact time: the kernel's own is that of its last tick, and two posts may fall into one. Times are compared
// for inequality, since clocks are set back.

#include "Platform/Signals/NotificationCentre.h"

#include "Platform/Files/DirectoryWatch.h"
#include "Platform/Files/FileName.h"
#include "Platform/Files/RuntimeDirectory.h"
#include "Platform/Log/Log.h"

#include <QByteArrayList>
#include <QCoreApplication>
#include <QHash>
#include <QMetaObject>
#include <atomic>
#include <cerrno>
#include <ctime>
#include <fcntl.h>
#include <map>
#include <memory>
#include <sys/stat.h>
#include <unistd.h>
#include <utility>

namespace kestrum {

namespace {

using NotificationCentre::Token;

constexpr const char* signalsName = "signals";
constexpr const char* pathBelowRoot = "kestrum/signals/";

void sayThatSignalsStayWithin(const QString& reason)
{
    Log::warnOnce("signals", QStringLiteral("Signals stay within this program: %1").arg(reason));
}

// A signal's name is longer than its suite's, whose files need room for companions. So each suite that can be has signals.
std::optional<QByteArray> fileNameOf(const QString& name)
{
    return FileName::encoded(name, {}, FileName::Room::none);
}

// When a signal was posted last, in nanoseconds since 1970; nothing when it never was.
using PostTime = std::optional<qint64>;

// The directory of the signals for those who post, from any thread. A `path` is relative to the directory above ours.
class SignalWriter {
public:
    // Why the signal could not be left where others see it; empty when it was.
    QString post(const QByteArray& path)
    {
        if (const auto known = m_root.load(); known && touch(known->rootDescriptor(), path))
            return {};
        // The first time, or the directory went away and has to be found or made again.
        QString obstacle;
        if (const auto opened = open(&obstacle)) {
            if (touch(opened->rootDescriptor(), path))
                return {};
            const QString reason = qt_error_string(errno);
            obstacle = QStringLiteral("%1/%2: %3")
                           .arg(Log::escaped(opened->path()), QLatin1String(signalsName), reason);
        }
        sayThatSignalsStayWithin(obstacle);
        return obstacle;
    }

    // By the directory that was opened last, which the kernel's watch is of.
    PostTime lastPost(const QByteArray& path) const
    {
        const auto known = m_root.load();
        struct stat state;
        if (!known || ::fstatat(known->rootDescriptor(), path.constData(), &state, AT_SYMLINK_NOFOLLOW) != 0)
            return std::nullopt;
        return qint64(state.st_mtim.tv_sec) * 1'000'000'000 + state.st_mtim.tv_nsec;
    }

    // Makes sure that the directory is there; null, with the reason in `obstacle`, when it cannot be.
    std::shared_ptr<const RuntimeDirectory> open(QString* obstacle)
    {
        QString reason = RuntimeDirectory::shared().reason();
        if (reason.isEmpty()) {
            const auto opened
                = std::make_shared<const RuntimeDirectory>(RuntimeDirectory::shared().rootPath());
            const int descriptor = opened->openSubdirectory(signalsName);
            if (descriptor >= 0) {
                ::close(descriptor);
                m_root.store(opened);
                return opened;
            }
            reason = opened->isValid() ? QStringLiteral("%1/%2 is not a directory of ours alone")
                                             .arg(Log::escaped(opened->path()), QLatin1String(signalsName))
                                       : opened->reason();
        }
        *obstacle = reason;
        return nullptr;
    }

    // As `open`, with the reason said once.
    std::shared_ptr<const RuntimeDirectory> openOrSay()
    {
        QString obstacle;
        auto opened = open(&obstacle);
        if (!opened)
            sayThatSignalsStayWithin(obstacle);
        return opened;
    }

private:
    static bool setTimes(int root, const QByteArray& path)
    {
        struct timespec times[2];
        ::clock_gettime(CLOCK_REALTIME, &times[0]);
        times[1] = times[0];
        return ::utimensat(root, path.constData(), times, AT_SYMLINK_NOFOLLOW) == 0;
    }

    static bool touch(int root, const QByteArray& path)
    {
        if (setTimes(root, path))
            return true;
        const int descriptor = ::openat(
            root, path.constData(), O_RDONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, S_IRUSR | S_IWUSR);
        if (descriptor >= 0) {
            ::close(descriptor);
            return true;
        }
        // Another poster came first.
        return errno == EEXIST && setTimes(root, path);
    }

    std::atomic<std::shared_ptr<const RuntimeDirectory>> m_root;
};

SignalWriter& postbox()
{
    // Never destroyed: other threads may still post while the process ends.
    static auto* const box = new SignalWriter;
    return *box;
}

// The registrations of this process. Main thread only, but for `newest` and `isDeaf`.
class SignalRegistry {
public:
    Token add(const QByteArray& fileName, std::function<void()> handler)
    {
        if (!m_watch)
            listen();
        const Token token = ++m_newest;
        // What was posted so far is seen, and so is told to the earlier ones only.
        m_registrations.emplace(token,
            Registration { fileName, postbox().lastPost(pathBelowRoot + fileName),
                std::make_shared<const std::function<void()>>(std::move(handler)) });
        return token;
    }

    void remove(Token token)
    {
        m_registrations.erase(token);
        if (m_registrations.empty()) {
            m_watch.reset();
            m_isDeaf = false;
        }
    }

    // Whether there are registrations that the kernel tells nothing. Any thread.
    bool isDeaf() const { return m_isDeaf; }

    // The last token given out: a post concerns no later ones. Any thread.
    Token newest() const { return m_newest; }

    // A post that others cannot see, or that we cannot. Concerns the registrations up to `newest`.
    void hearWithin(const QByteArray& fileName, Token newest)
    {
        deliver(newest, [&fileName](const Registration& one) { return one.fileName == fileName; });
        // The directory that could not be opened when the first registration was made may be there by now.
        if (m_isDeaf && !m_registrations.empty())
            listen();
    }

private:
    struct Registration {
        QByteArray fileName;
        PostTime seen; // kept where the file is gone, as it may come back as it was
        std::shared_ptr<const std::function<void()>> handler; // lives on while it runs
    };

    void listen()
    {
        const auto root = postbox().openOrSay();
        m_isDeaf = !root;
        if (!root)
            return;
        m_watch
            = std::make_unique<DirectoryWatch>(root->path() + QLatin1Char('/') + QLatin1String(signalsName),
                DirectoryWatch::Interest::touched, [this](const QByteArray& entry) { hear(entry); });
        // Of those who were deaf.
        for (auto& [token, registration] : m_registrations)
            registration.seen = postbox().lastPost(pathBelowRoot + registration.fileName);
    }

    void hear(const QByteArray& entry)
    {
        QByteArrayList names { entry };
        names += m_watch->takePending();
        const bool isAnything = names.contains(QByteArray());
        // The directory may be another one. It is made where it is missing, so that the next post is an event of its own again.
        if (isAnything && !postbox().openOrSay())
            return;
        QHash<QByteArray, PostTime> times; // one look for all registrations of a name
        deliver(m_newest, [&](Registration& one) {
            if (!isAnything && !names.contains(one.fileName))
                return false;
            auto time = times.constFind(one.fileName);
            if (time == times.constEnd())
                time = times.insert(one.fileName, postbox().lastPost(pathBelowRoot + one.fileName));
            return *time && std::exchange(one.seen, *time) != *time;
        });
    }

    // Runs the handlers that a post `concerns` among the registrations up to `newest`, in the order of registration. A
    // handler may end any registration, its own too, or begin new ones.
    template <class Concerns> void deliver(Token newest, Concerns concerns)
    {
        for (auto at = m_registrations.begin(); at != m_registrations.end() && at->first <= newest;) {
            const Token token = at->first;
            if (concerns(at->second)) {
                const auto handler = at->second.handler;
                (*handler)();
            }
            at = m_registrations.upper_bound(token);
        }
    }

    std::map<Token, Registration> m_registrations;
    std::atomic<Token> m_newest = 0;
    std::atomic<bool> m_isDeaf = false;
    std::unique_ptr<DirectoryWatch> m_watch;
};

SignalRegistry& signalRegistry()
{
    static auto* const registrations = new SignalRegistry;
    return *registrations;
}

} // namespace

QString NotificationCentre::post(const QString& name)
{
    // A program posts the same few names again and again, so the last one's path is kept.
    thread_local QString lastName;
    thread_local QByteArray lastPath;
    if (name != lastName || lastPath.isEmpty()) {
        const std::optional<QByteArray> encoded = fileNameOf(name);
        lastName = name;
        lastPath = encoded ? pathBelowRoot + *encoded : QByteArray();
    }
    if (lastPath.isEmpty())
        return QStringLiteral("\"%1\" makes no name of a file").arg(Log::escaped(name));
    const QString obstacle = postbox().post(lastPath);
    if ((!obstacle.isEmpty() || signalRegistry().isDeaf()) && QCoreApplication::instance()) {
        const QByteArray fileName = lastPath.mid(qsizetype(qstrlen(pathBelowRoot)));
        QMetaObject::invokeMethod(
            QCoreApplication::instance(),
            [fileName, newest = signalRegistry().newest()] { signalRegistry().hearWithin(fileName, newest); },
            Qt::QueuedConnection);
    }
    return obstacle;
}

QString NotificationCentre::obstacle()
{
    QString reason;
    postbox().open(&reason);
    return reason;
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
    if (!fileName || !postbox().openOrSay())
        return std::nullopt;
    const PostTime time = postbox().lastPost(pathBelowRoot + *fileName);
    return time ? std::optional(double(*time) / 1e9) : std::nullopt;
}

void NotificationCentre::cancel(Token token)
{
    signalRegistry().remove(token);
}

} // namespace kestrum
