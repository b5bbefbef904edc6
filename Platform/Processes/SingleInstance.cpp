// SPDX-License-Identifier: MIT
// The first process holds a kernel lock on "<name>.lock", and receives requests of later starts at "<name>.socket". Both files
// are in the private runtime directory and are opened through the directory's checked descriptor, so no other user can replace
// them. If a killed process left its socket, the next holder of the lock removes the socket.
//
// An exiting process still holds the lock but reads no requests. So the process that sent a request (the sender) waits until
// the kernel reports that the request is no longer in the socket. Then the sender checks whether the socket's name and the lock
// still exist: an exiting process removes the name before it closes the socket with the unread requests. If the name or the
// lock is gone, the request was lost, and the sender takes the lock.
//
// If the runtime directory is cleared, other processes cannot see the lock any more. So the first process also holds an
// `InstanceName`, which is in no directory. A later process can then get the lock but not the name, so it is not the first. Its
// attempt to take the name is a knock. The first process notices the knock and creates the lock and the socket again.
//
// The lock is an open file description lock (F_OFD_SETLK). Unlike a lock of `flock`, it can be queried without being taken. So
// a process that starts during a call of `isTaken` does not find the lock taken by the query.

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
constexpr int readerPause = 1; // the first process usually reads at once
// More requests than the kernel queues at one socket, so that one call of `receive` reads all queued requests.
constexpr int mostAtOnce = 1024;
// A request causes work after its delivery, such as painting windows. If two requests come within this time, all processor time
// between them is charged to the limiter.
constexpr std::chrono::seconds aftermath { 1 };
constexpr std::chrono::milliseconds requestBurst { 20 };
// The estimated processor time of a wake-up in the kernel and the event loop, which this code cannot measure.
constexpr std::chrono::microseconds requestCost { 20 };

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

// No socket call takes a directory's descriptor, so `path` goes through "/proc/self/fd".
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
    // On a file system without locks, every process is the first.
    return ::fcntl(file.get(), F_OFD_SETLK, &lock) == 0 || (errno != EAGAIN && errno != EACCES);
}

/// Whether `name` in `directory` still names the open file `descriptor`.
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

/// Whether data that was sent through `socket` is unread and its reader still exists.
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

/// Limits how long sending waits for space in the receiver's queue. Without a limit, sending could wait for ever.
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
    , m_limiter(requestBurst, std::chrono::steady_clock::now())
{
    take();
}

SingleInstance::~SingleInstance()
{
    release();
}

void SingleInstance::take()
{
    m_isFirst = true;
    m_directory.reset();
    auto directory = RuntimeDirectory::reopen();
    if (!directory)
        return;
    m_directory = std::move(*directory);
    m_lock = openLock(m_directory->descriptor(), m_name, O_CREAT);
    if (!m_lock.isValid()) {
        Log::warnOnce("instance",
            QStringLiteral("%1/%2.lock cannot be used: other starts of the program go unnoticed")
                .arg(Log::escaped(m_directory->path()), QString::fromUtf8(m_name)));
        return;
    }
    m_isFirst = lock(m_lock) && m_instanceName.take(m_name) != InstanceName::Holder::anotherOfOurs;
    if (m_isFirst)
        openSocket();
    else
        m_lock = FileDescriptor();
}

void SingleInstance::release()
{
    m_notifier.reset();
    m_knocks.reset();
    // The socket's name is removed while the lock is held. Later, the name could belong to another process's socket.
    if (m_socket.isValid())
        ::unlinkat(m_directory->descriptor(), (m_name + ".socket").constData(), 0);
    m_socket = FileDescriptor();
    m_lock = FileDescriptor();
    m_instanceName.release();
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
    // Queued, because there may be no event loop yet.
    QMetaObject::invokeMethod(this, &SingleInstance::listen, Qt::QueuedConnection);
}

void SingleInstance::listen()
{
    if (!m_socket.isValid())
        return;
    m_notifier = std::make_unique<QSocketNotifier>(m_socket.get(), QSocketNotifier::Read);
    connect(m_notifier.get(), &QSocketNotifier::activated, this, &SingleInstance::receive);
    if (m_knocks || m_instanceName.descriptor() < 0)
        return;
    m_knocks = std::make_unique<QSocketNotifier>(m_instanceName.descriptor(), QSocketNotifier::Read);
    connect(m_knocks.get(), &QSocketNotifier::activated, this, &SingleInstance::restoreFiles);
}

void SingleInstance::restoreFiles()
{
    const auto before = RateLimiter::processorTime();
    if (m_instanceName.answerKnocks()
        && !isNameOf(m_directory->descriptor(), m_name + ".lock", m_lock.get())) {
        auto directory = RuntimeDirectory::reopen();
        FileDescriptor file
            = directory ? openLock(directory->descriptor(), m_name, O_CREAT) : FileDescriptor();
        // The process that knocked may hold the lock for a moment. It will knock again.
        if (file.isValid() && lock(file)) {
            m_directory = std::move(*directory);
            m_lock = std::move(file);
            m_notifier.reset();
            m_socket = FileDescriptor();
            openSocket();
            Log::info("instance",
                QStringLiteral("the runtime directory was cleared; other starts find us there again"));
        }
    }
    pauseAfter(RateLimiter::processorTime() - before);
}

void SingleInstance::receive()
{
    const auto before = RateLimiter::processorTime();
    QByteArray token;
    bool isAsked = false;
    for (int i = 0; i < mostAtOnce; ++i) {
        std::array<char, maximumTokenLength> buffer;
        // `length` is the sent length, which may exceed the buffer. The kernel drops descriptors that come with a request.
        const ssize_t length = ::recv(m_socket.get(), buffer.data(), buffer.size(), MSG_TRUNC);
        if (length < 0)
            break;
        isAsked = true;
        const qsizetype received = std::min<qsizetype>(length, maximumTokenLength);
        token = tokenIn({ buffer.data(), received }, length);
    }
    if (isAsked)
        Q_EMIT raiseRequested(token);

    const bool isAftermath = std::chrono::steady_clock::now() - m_lastReceived < aftermath;
    const auto from = std::exchange(m_charged, RateLimiter::processorTime());
    m_lastReceived = std::chrono::steady_clock::now();
    pauseAfter(m_charged - (isAftermath ? from : before));
}

QByteArray SingleInstance::tokenIn(QByteArrayView received, qsizetype sent)
{
    return received.size() == sent && isToken(received) ? received.toByteArray() : QByteArray();
}

void SingleInstance::pauseAfter(RateLimiter::Duration cost)
{
    const auto pause = m_limiter.charge(cost + requestCost, std::chrono::steady_clock::now());
    if (pause == RateLimiter::Duration::zero())
        return;
    // During the pause, the kernel queues requests and makes senders wait.
    for (QSocketNotifier* notifier : { m_notifier.get(), m_knocks.get() }) {
        if (!notifier)
            continue;
        notifier->setEnabled(false);
        QTimer::singleShot(std::chrono::ceil<std::chrono::milliseconds>(pause), notifier,
            [notifier] { notifier->setEnabled(true); });
    }
}

bool SingleInstance::raiseFirst(const QByteArray& activationToken)
{
    const QDeadlineTimer deadline(patience);
    while (!sendRequest(isToken(activationToken) ? activationToken : QByteArray(), deadline)) {
        take();
        if (m_isFirst)
            return true;
        if (deadline.hasExpired())
            return false;
        QThread::msleep(pause);
    }
    return true;
}

bool SingleInstance::sendRequest(const QByteArray& activationToken, const QDeadlineTimer& deadline) const
{
    if (!m_directory)
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
    const auto isFirstThere = [&] {
        return isNameOf(m_directory->descriptor(), fileName, file.get())
            && isLocked(m_directory->descriptor(), m_name);
    };
    // The socket's queue is full of unread requests. The first process is busy, and will come forward when it reads them.
    if (sent < 0 && errno == EAGAIN)
        return isFirstThere();
    if (sent != ssize_t(activationToken.size()))
        return false;
    while (hasUnread(socket.get())) {
        if (deadline.hasExpired())
            return true; // the first process is busy but exists
        QThread::msleep(readerPause);
    }
    return isFirstThere();
}

std::optional<bool> SingleInstance::isTaken(const QByteArray& name)
{
    const auto& directory = RuntimeDirectory::shared();
    return directory ? std::optional(isLocked(directory->descriptor(), name)) : std::nullopt;
}

} // namespace kestrum
