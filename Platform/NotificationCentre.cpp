// A signal is the time stamp of a file. Every name has an empty file in a private directory of the user; to
// post is to set its times (or to create it, the first time), to listen is to watch the directory. No daemon
// is needed, the kernel merges what nobody has read yet, and a listener that is stuck holds up nobody.
//
// One post must be one event, or listeners would be told twice: a file is created by an open for reading,
// whose close is of no interest to the watch.

#include "Platform/NotificationCentre.h"

#include "Platform/DirectoryWatch.h"
#include "Platform/FileName.h"
#include "Platform/Log.h"
#include "Platform/RuntimeDirectory.h"

#include <QByteArrayList>
#include <QCoreApplication>
#include <QMetaObject>
#include <atomic>
#include <cerrno>
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

// The directory of the signals for those who post, from any thread.
class Postbox {
public:
    // False when the signal could not be left where others see it. `path` is relative to the directory above ours.
    bool post(const QByteArray& path)
    {
        if (const auto known = m_root.load(); known && touch(known->rootDescriptor(), path))
            return true;
        // The first time, or the directory went away and has to be found or made again.
        const auto opened = open();
        return opened && touch(opened->rootDescriptor(), path);
    }

    std::optional<double> lastPost(const QByteArray& path)
    {
        const auto opened = open();
        struct stat state;
        if (!opened
            || ::fstatat(opened->rootDescriptor(), path.constData(), &state, AT_SYMLINK_NOFOLLOW) != 0)
            return std::nullopt;
        return double(state.st_mtim.tv_sec) + double(state.st_mtim.tv_nsec) / 1e9;
    }

    // Makes sure that the directory is there; null and said once when it cannot be.
    std::shared_ptr<const RuntimeDirectory> open()
    {
        const RuntimeDirectory& shared = RuntimeDirectory::shared();
        if (!shared.isValid()) {
            sayThatSignalsStayWithin(shared.reason());
            return nullptr;
        }
        const auto opened = std::make_shared<const RuntimeDirectory>(shared.rootPath());
        const int descriptor = opened->openSubdirectory(signalsName);
        if (descriptor < 0) {
            sayThatSignalsStayWithin(opened->isValid()
                    ? QStringLiteral("%1/%2 is not a directory of ours alone")
                          .arg(Log::escaped(opened->path()), QLatin1String(signalsName))
                    : opened->reason());
            return nullptr;
        }
        ::close(descriptor);
        m_root.store(opened);
        return opened;
    }

private:
    static bool touch(int root, const QByteArray& path)
    {
        if (::utimensat(root, path.constData(), nullptr, AT_SYMLINK_NOFOLLOW) == 0)
            return true;
        const int descriptor = ::openat(
            root, path.constData(), O_RDONLY | O_CREAT | O_EXCL | O_NOFOLLOW | O_CLOEXEC, S_IRUSR | S_IWUSR);
        if (descriptor >= 0) {
            ::close(descriptor);
            return true;
        }
        // Another poster came first.
        return errno == EEXIST && ::utimensat(root, path.constData(), nullptr, AT_SYMLINK_NOFOLLOW) == 0;
    }

    std::atomic<std::shared_ptr<const RuntimeDirectory>> m_root;
};

Postbox& postbox()
{
    // Never destroyed: other threads may still post while the process ends.
    static auto* const box = new Postbox;
    return *box;
}

// The registrations of this process. Main thread only, but for `newest`.
class Listeners {
public:
    Token add(const QByteArray& fileName, std::function<void()> handler)
    {
        if (m_watch)
            keepApart(m_watch->takePending());
        else
            listen();
        const Token token = ++m_newest;
        m_registrations.emplace(token,
            Registration { fileName, std::make_shared<const std::function<void()>>(std::move(handler)) });
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

    // The directory that could not be opened when the first registration was made may be there by now.
    void listenAgain()
    {
        if (m_isDeaf && !m_registrations.empty())
            listen();
    }

    // The last token given out: a post concerns no later ones. Any thread.
    Token newest() const { return m_newest; }

    // Runs the handlers for `names` among the registrations up to `newest`, in the order of registration. A
    // handler may end any registration, its own too, or begin new ones. An empty name stands for all names.
    void deliver(const QByteArrayList& names, Token newest)
    {
        const bool all = names.contains(QByteArray());
        for (auto at = m_registrations.begin(); at != m_registrations.end() && at->first <= newest;) {
            const Token token = at->first;
            if (all || names.contains(at->second.fileName)) {
                const auto handler = at->second.handler;
                (*handler)();
            }
            at = m_registrations.upper_bound(token);
        }
    }

private:
    struct Registration {
        QByteArray fileName;
        std::shared_ptr<const std::function<void()>> handler; // lives on while it runs
    };

    void listen()
    {
        const auto root = postbox().open();
        m_isDeaf = !root;
        if (!root)
            return;
        m_watch
            = std::make_unique<DirectoryWatch>(root->path() + QLatin1Char('/') + QLatin1String(signalsName),
                DirectoryWatch::Interest::touched, [this](const QByteArray& entry) { hear(entry); });
    }

    void hear(const QByteArray& entry)
    {
        if (entry.isEmpty())
            postbox().open(); // so that the next post is an event of its own again
        QByteArrayList names { entry };
        names += m_watch->takePending();
        deliver(names, m_newest);
    }

    // What was posted before a registration is told to the earlier ones only.
    void keepApart(const QByteArrayList& names)
    {
        if (names.isEmpty())
            return;
        QMetaObject::invokeMethod(
            QCoreApplication::instance(), [this, names, newest = newest()] { deliver(names, newest); },
            Qt::QueuedConnection);
    }

    std::map<Token, Registration> m_registrations;
    std::atomic<Token> m_newest = 0;
    std::atomic<bool> m_isDeaf = false;
    std::unique_ptr<DirectoryWatch> m_watch;
};

Listeners& listeners()
{
    static auto* const registrations = new Listeners;
    return *registrations;
}

} // namespace

void NotificationCentre::post(const QString& name)
{
    // A program posts the same few names again and again, so the last one's path is kept.
    thread_local QString lastName;
    thread_local QByteArray lastPath;
    if (name != lastName || lastPath.isEmpty()) {
        const std::optional<QByteArray> encoded = FileName::encoded(name);
        lastName = name;
        lastPath = encoded ? pathBelowRoot + *encoded : QByteArray();
    }
    if (lastPath.isEmpty())
        return;
    const bool isPosted = postbox().post(lastPath);
    if ((isPosted && !listeners().isDeaf()) || !QCoreApplication::instance())
        return;
    const QByteArray fileName = lastPath.mid(qsizetype(qstrlen(pathBelowRoot)));
    QMetaObject::invokeMethod(
        QCoreApplication::instance(),
        [names = QByteArrayList { fileName }, newest = listeners().newest()] {
            listeners().deliver(names, newest);
            listeners().listenAgain();
        },
        Qt::QueuedConnection);
}

std::optional<Token> NotificationCentre::registerDispatch(const QString& name, std::function<void()> handler)
{
    const std::optional<QByteArray> fileName = FileName::encoded(name);
    if (!fileName || !handler)
        return std::nullopt;
    return listeners().add(*fileName, std::move(handler));
}

std::optional<double> NotificationCentre::lastPost(const QString& name)
{
    const std::optional<QByteArray> fileName = FileName::encoded(name);
    return fileName ? postbox().lastPost(pathBelowRoot + *fileName) : std::nullopt;
}

void NotificationCentre::cancel(Token token)
{
    listeners().remove(token);
}

} // namespace kestrum
