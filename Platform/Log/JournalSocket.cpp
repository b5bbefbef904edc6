#include "Platform/Log/JournalSocket.h"

#include <QList>
#include <cerrno>
#include <cstring>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace kestrum {

namespace {

// The levels of syslog, which the journal counts in.
char priority(QtMsgType type)
{
    switch (type) {
    case QtDebugMsg:
        return '7';
    case QtInfoMsg:
        return '6';
    case QtWarningMsg:
        return '4';
    case QtCriticalMsg:
        return '3';
    case QtFatalMsg:
        return '2';
    }
    return '5';
}

} // namespace

bool JournalSocket::isStandardError()
{
    // A child may inherit the variable and have standard error redirected: only the descriptor itself tells.
    const QList<QByteArray> parts = qgetenv("JOURNAL_STREAM").split(':');
    struct stat state;
    if (parts.size() != 2 || ::fstat(STDERR_FILENO, &state) != 0)
        return false;
    bool deviceIsNumber = false;
    bool inodeIsNumber = false;
    const quint64 device = parts[0].toULongLong(&deviceIsNumber);
    const quint64 inode = parts[1].toULongLong(&inodeIsNumber);
    return deviceIsNumber && inodeIsNumber && device == state.st_dev && inode == state.st_ino;
}

JournalSocket::JournalSocket(const char* path)
{
    sockaddr_un address {};
    address.sun_family = AF_UNIX;
    if (std::strlen(path) >= sizeof address.sun_path)
        return;
    std::memcpy(address.sun_path, path, std::strlen(path));
    m_descriptor = ::socket(AF_UNIX, SOCK_DGRAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0);
    if (m_descriptor >= 0
        && ::connect(m_descriptor, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0) {
        ::close(m_descriptor);
        m_descriptor = -1;
    }
}

JournalSocket::~JournalSocket()
{
    if (m_descriptor >= 0)
        ::close(m_descriptor);
}

QByteArray JournalSocket::entry(QtMsgType type, const QByteArray& category, const QByteArray& message)
{
    QByteArray text;
    text.append("MESSAGE=").append(message).append('\n');
    text.append("PRIORITY=").append(priority(type)).append('\n');
    text.append("SYSLOG_IDENTIFIER=").append(program_invocation_short_name).append('\n');
    text.append("QT_CATEGORY=").append(category).append('\n');
    return text;
}

bool JournalSocket::send(const QByteArray& entry) const
{
    return m_descriptor >= 0
        && ::send(m_descriptor, entry.constData(), size_t(entry.size()), MSG_NOSIGNAL) == entry.size();
}

} // namespace kestrum
