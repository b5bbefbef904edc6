// The place is a kernel lock on "<name>.lock"; whoever has it owns "<name>.socket" beside it and hears there of further
// starts. Both lie in the private runtime directory and are reached through its checked descriptor, so that nobody
// else can put something in their place. A socket that a killed process left behind is removed by the next that has the
// lock, and by nobody else.
//
// A process that ends has the place for a while yet and does not listen any more. So whoever asks waits until the kernel says
// that the request has been taken out of the socket, and then looks whether the place is still what it was: the socket's name
// goes before the socket does, and with it what nobody has read. A request that is lost in that way is none, and the second
// start becomes the first.
//
// Whoever clears the runtime directory takes the lock's file away, and with it what others could see of the lock. So the first one
// also holds a name that is in no folder (`InstanceName`). Who gets the lock and not the name is not the first, and has knocked
// by asking: then the first one settles in the directory anew, where it can be told.
//
// The lock belongs to the open file, as flock's does, but it can be asked after without being taken: a look by
// `isTaken` never makes a program that starts at the same moment believe that it is the second.

#include "Platform/Processes/SingleInstance.h"

#include "Platform/Log/Log.h"

#include <QMetaObject>
#include <QThread>
#include <QTimer>
#include <algorithm>
#include <array>
#include <fcntl.h>
#include <linux/sockios.h>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

namespace kestrum {

namespace {

constexpr int patience = 1000; // ms
constexpr int pause = 20;
constexpr int pauseOfReader = 1; // it reads at once as a rule
// More than the kernel queues at one socket, so that a flood of requests is one request.
constexpr int mostAtOnce = 1024;
// Coming forward goes on after the request: windows are painted, and the desktop answers.
constexpr std::chrono::seconds aftermath { 1 };
constexpr std::chrono::milliseconds savedForRequests { 20 };
// Being woken costs about this much in the kernel and the event loop, where we do not see it.
constexpr std::chrono::microseconds wakeUpCost { 20 };

bool isOurs(int descriptor, mode_t kind)
{
    struct stat state;
    return ::fstat(descriptor, &state) == 0 && (state.st_mode & S_IFMT) == kind
        && state.st_uid == ::geteuid();
}

FileDescriptor openLock(int directory, const QByteArray& name, int flags)
{
    FileDescriptor file(::openat(directory, (name + ".lock").constData(),
        O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_CLOEXEC | flags, S_IRUSR | S_IWUSR));
    return file.isValid() && isOurs(file.get(), S_IFREG) ? std::move(file) : FileDescriptor();
}

struct flock wholeFile()
{
    struct flock lock { };
    lock.l_type = F_WRLCK;
    lock.l_whence = SEEK_SET;
    return lock;
}

// An address in a directory that is known by a descriptor, which sockets have no call for.
sockaddr_un addressOf(const QByteArray& path)
{
    sockaddr_un address {};
    address.sun_family = AF_UNIX;
    std::copy_n(path.constData(), std::min<qsizetype>(path.size(), sizeof address.sun_path - 1),
        static_cast<char*>(address.sun_path));
    return address;
}

bool lock(const FileDescriptor& file)
{
    struct flock lock = wholeFile();
    // Where there are no locks every process is the first.
    return ::fcntl(file.get(), F_OFD_SETLK, &lock) == 0 || (errno != EAGAIN && errno != EACCES);
}

/// Whether `name` is still the name of the file that is open.
bool isNameOf(int directory, const QByteArray& name, int descriptor)
{
    struct stat open;
    struct stat named;
    return ::fstat(descriptor, &open) == 0
        && ::fstatat(directory, name.constData(), &named, AT_SYMLINK_NOFOLLOW) == 0
        && open.st_dev == named.st_dev && open.st_ino == named.st_ino;
}

bool isLocked(int directory, const QByteArray& name)
{
    const FileDescriptor file = openLock(directory, name, 0);
    struct flock lock = wholeFile();
    return file.isValid() && ::fcntl(file.get(), F_OFD_GETLK, &lock) == 0 && lock.l_type != F_UNLCK;
}

/// Whether anything that was sent by `socket` has not been read, nor has gone with its reader.
bool hasUnread(int socket)
{
    int unread = 0;
    return ::ioctl(socket, SIOCOUTQ, &unread) == 0 && unread > 0;
}

QByteArray pathOf(int descriptor)
{
    return "/proc/self/fd/" + QByteArray::number(descriptor);
}

FileDescriptor makeSocket(int flags = 0)
{
    return FileDescriptor(::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | flags, 0));
}

/// Sending waits until then for room. Without a limit it would wait for ever.
void limitSending(int socket, const QDeadlineTimer& deadline)
{
    const qint64 milliseconds = std::max<qint64>(deadline.remainingTime(), 1);
    const timeval limit { milliseconds / 1000, milliseconds % 1000 * 1000 };
    ::setsockopt(socket, SOL_SOCKET, SO_SNDTIMEO, &limit, sizeof limit);
}

bool isToken(QByteArrayView text)
{
    return text.size() <= SingleInstance::maximumTokenLength
        && std::all_of(text.begin(), text.end(), [](char c) { return c > ' ' && c < 0x7F; });
}

} // namespace

SingleInstance::SingleInstance(const QByteArray& name, QObject* parent)
    : QObject(parent)
    , m_name(name)
    , m_allowance(savedForRequests, std::chrono::steady_clock::now())
{
    take();
}

SingleInstance::~SingleInstance()
{
    giveBack();
}

void SingleInstance::take()
{
    m_isFirst = true;
    // Opened anew: it may have been cleared since.
    m_directory = std::make_unique<RuntimeDirectory>(RuntimeDirectory::shared().rootPath());
    if (!m_directory->isValid())
        return;
    m_lock = openLock(m_directory->descriptor(), m_name, O_CREAT);
    if (!m_lock.isValid()) {
        Log::warnOnce("instance",
            QStringLiteral("%1/%2.lock cannot be used: other starts of the program go unnoticed")
                .arg(Log::escaped(m_directory->path()), QString::fromUtf8(m_name)));
        return;
    }
    m_isFirst = lock(m_lock) && m_place.take(m_name) != InstanceName::Holder::anotherOfOurs;
    if (m_isFirst)
        openSocket();
    else
        m_lock = FileDescriptor();
}

void SingleInstance::giveBack()
{
    m_notifier.reset();
    m_knocks.reset();
    // While the lock is held, so that it is ours that goes.
    if (m_socket.isValid())
        ::unlinkat(m_directory->descriptor(), (m_name + ".socket").constData(), 0);
    m_socket = FileDescriptor();
    m_lock = FileDescriptor();
    m_place.release();
    m_isFirst = false;
}

void SingleInstance::openSocket()
{
    const int directory = m_directory->descriptor();
    const QByteArray fileName = m_name + ".socket";
    ::unlinkat(directory, fileName.constData(), 0);
    FileDescriptor socket = makeSocket(SOCK_NONBLOCK);
    const sockaddr_un address = addressOf(pathOf(directory) + '/' + fileName);
    if (!socket.isValid()
        || ::bind(socket.get(), reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        Log::warning("instance",
            QStringLiteral("other starts of the program cannot bring this one forward: %1")
                .arg(qt_error_string(errno)));
        return;
    }
    m_socket = std::move(socket);
    // There may be no event loop yet that could watch the socket.
    QMetaObject::invokeMethod(this, &SingleInstance::listen, Qt::QueuedConnection);
}

void SingleInstance::listen()
{
    if (!m_socket.isValid())
        return;
    m_notifier = std::make_unique<QSocketNotifier>(m_socket.get(), QSocketNotifier::Read);
    connect(m_notifier.get(), &QSocketNotifier::activated, this, &SingleInstance::receive);
    if (m_knocks || m_place.descriptor() < 0)
        return;
    m_knocks = std::make_unique<QSocketNotifier>(m_place.descriptor(), QSocketNotifier::Read);
    connect(m_knocks.get(), &QSocketNotifier::activated, this, &SingleInstance::settleAnew);
}

void SingleInstance::settleAnew()
{
    const auto before = RateLimiter::processorTime();
    if (m_place.answerKnocks() && !isNameOf(m_directory->descriptor(), m_name + ".lock", m_lock.get())) {
        auto directory = std::make_unique<RuntimeDirectory>(RuntimeDirectory::shared().rootPath());
        FileDescriptor file
            = directory->isValid() ? openLock(directory->descriptor(), m_name, O_CREAT) : FileDescriptor();
        // Whoever knocked holds the lock for a moment, and knocks again.
        if (file.isValid() && lock(file)) {
            m_directory = std::move(directory);
            m_lock = std::move(file);
            m_notifier.reset();
            m_socket = FileDescriptor();
            openSocket();
            Log::info("instance",
                QStringLiteral("the runtime directory was cleared; other starts find us there again"));
        }
    }
    restAfter(RateLimiter::processorTime() - before);
}

void SingleInstance::receive()
{
    const auto before = RateLimiter::processorTime();
    QByteArray token;
    bool isAsked = false;
    for (int i = 0; i < mostAtOnce; ++i) {
        std::array<char, maximumTokenLength> buffer;
        // The length that was sent, which may be more than was kept. Descriptors that came along are dropped by the kernel.
        const ssize_t length = ::recv(m_socket.get(), buffer.data(), buffer.size(), MSG_TRUNC);
        if (length < 0)
            break;
        isAsked = true;
        const bool isWhole = length <= ssize_t(buffer.size());
        const QByteArrayView text(buffer.data(), isWhole ? qsizetype(length) : 0);
        token = isToken(text) ? text.toByteArray() : QByteArray();
    }
    if (isAsked)
        Q_EMIT raiseRequested(token);

    const bool isAftermath = std::chrono::steady_clock::now() - m_lastReceived < aftermath;
    const auto from = std::exchange(m_booked, RateLimiter::processorTime());
    m_lastReceived = std::chrono::steady_clock::now();
    restAfter(m_booked - (isAftermath ? from : before));
}

void SingleInstance::restAfter(RateLimiter::Duration cost)
{
    const auto owed = m_allowance.spend(cost + wakeUpCost, std::chrono::steady_clock::now());
    if (owed == RateLimiter::Duration::zero())
        return;
    // The kernel keeps what comes meanwhile, and lets its senders wait.
    const auto rest = std::chrono::ceil<std::chrono::milliseconds>(owed);
    for (QSocketNotifier* notifier : { m_notifier.get(), m_knocks.get() }) {
        if (!notifier)
            continue;
        notifier->setEnabled(false);
        QTimer::singleShot(rest, notifier, [notifier] { notifier->setEnabled(true); });
    }
}

bool SingleInstance::raiseFirst(const QByteArray& activationToken)
{
    const QDeadlineTimer deadline(patience);
    while (!tell(isToken(activationToken) ? activationToken : QByteArray(), deadline)) {
        take();
        if (m_isFirst)
            return true;
        if (deadline.hasExpired())
            return false;
        QThread::msleep(pause);
    }
    return true;
}

bool SingleInstance::tell(const QByteArray& activationToken, const QDeadlineTimer& deadline) const
{
    if (!m_directory->isValid())
        return false;
    const QByteArray fileName = m_name + ".socket";
    const FileDescriptor file(
        ::openat(m_directory->descriptor(), fileName.constData(), O_PATH | O_NOFOLLOW | O_CLOEXEC));
    const FileDescriptor socket = makeSocket();
    if (!file.isValid() || !socket.isValid() || !isOurs(file.get(), S_IFSOCK))
        return false;
    limitSending(socket.get(), deadline);
    const sockaddr_un address = addressOf(pathOf(file.get()));
    const ssize_t sent = ::sendto(socket.get(), activationToken.constData(), size_t(activationToken.size()),
        MSG_NOSIGNAL, reinterpret_cast<const sockaddr*>(&address), sizeof address);
    // Full of requests that nobody has read yet: the first start is busy, and what it will do then is what we ask for.
    if (sent < 0 && errno == EAGAIN)
        return isNameOf(m_directory->descriptor(), fileName, file.get())
            && isLocked(m_directory->descriptor(), m_name);
    if (sent != ssize_t(activationToken.size()))
        return false;
    while (hasUnread(socket.get())) {
        if (deadline.hasExpired())
            return true; // It is busy, but there.
        QThread::msleep(pauseOfReader);
    }
    return isNameOf(m_directory->descriptor(), fileName, file.get())
        && isLocked(m_directory->descriptor(), m_name);
}

std::optional<bool> SingleInstance::isTaken(const QByteArray& name)
{
    const RuntimeDirectory& directory = RuntimeDirectory::shared();
    if (!directory.isValid())
        return std::nullopt;
    return isLocked(directory.descriptor(), name);
}

} // namespace kestrum
