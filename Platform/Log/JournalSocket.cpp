// SPDX-License-Identifier: MIT
#include "Platform/Log/JournalSocket.h"

#include <cerrno>
#include <cstring>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>
#include <unistd.h>

namespace kestrum {

bool JournalSocket::isStandardError()
{
    // A child process inherits the variable even if its standard error is redirected. So the variable is compared with the open
    // file itself.
    struct stat state;
    return ::fstat(STDERR_FILENO, &state) == 0
        && qgetenv("JOURNAL_STREAM")
        == QByteArray::number(quint64(state.st_dev)) + ':' + QByteArray::number(quint64(state.st_ino));
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
    // The digits of "74326" are the syslog priorities of the QtMsgType values 0 to 4.
    return "MESSAGE=" + message + "\nPRIORITY=" + "74326"[type]
        + "\nSYSLOG_IDENTIFIER=" + program_invocation_short_name + "\nQT_CATEGORY=" + category + '\n';
}

bool JournalSocket::send(const QByteArray& entry) const
{
    return m_descriptor >= 0
        && ::send(m_descriptor, entry.constData(), size_t(entry.size()), MSG_NOSIGNAL) == entry.size();
}

} // namespace kestrum
