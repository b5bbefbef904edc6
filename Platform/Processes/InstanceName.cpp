// SPDX-License-Identifier: MIT
#include "Platform/Processes/InstanceName.h"

#include "Platform/Files/RuntimeDirectory.h"
#include "Platform/Log/Identifier.h"

#include <algorithm>
#include <cstddef>
#include <sys/socket.h>
#include <sys/stat.h>
#include <sys/un.h>

namespace kestrum {

namespace {

// Several attempts are needed, because the holder of the name may end between `bind` and `connect`.
constexpr int mostBindAttempts = 3;
constexpr int mostAnswersAtOnce = 64;

/// Whether the process at the other end of the connection belongs to this user. For the connecting side, the other process is
/// the one that called `listen`.
bool isPeerOurs(int socket)
{
    ucred peer {};
    socklen_t size = sizeof peer;
    return ::getsockopt(socket, SOL_SOCKET, SO_PEERCRED, &peer, &size) == 0 && peer.uid == ::geteuid();
}

} // namespace

QByteArray InstanceName::addressOf(const QByteArray& name)
{
    // $XDG_RUNTIME_DIR identifies the session: it exists as long as the session. Directories in it may be removed earlier.
    struct stat state { };
    if (const auto& directory = RuntimeDirectory::shared())
        ::fstat(directory->rootDescriptor(), &state);
    return '\0' + QByteArray(applicationIdentifier.data(), applicationIdentifier.size()) + '/'
        + QByteArray::number(quint64(state.st_dev), 16) + '-' + QByteArray::number(quint64(state.st_ino), 16)
        + '/' + name;
}

InstanceName::Holder InstanceName::take(const QByteArray& name)
{
    const QByteArray path = addressOf(name);
    sockaddr_un address {};
    address.sun_family = AF_UNIX;
    if (path.size() > qsizetype(sizeof address.sun_path))
        return Holder::noneOfOurs;
    std::copy(path.begin(), path.end(), static_cast<char*>(address.sun_path));
    const auto size = socklen_t(offsetof(sockaddr_un, sun_path) + size_t(path.size()));
    const auto makeSocket
        = [] { return FileDescriptor(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0)); };

    for (int attempt = 0; attempt < mostBindAttempts; ++attempt) {
        FileDescriptor own = makeSocket();
        if (::bind(own.get(), reinterpret_cast<const sockaddr*>(&address), size) == 0
            && ::listen(own.get(), SOMAXCONN) == 0) {
            m_socket = std::move(own);
            return Holder::thisProcess;
        }
        if (errno != EADDRINUSE)
            break;
        const FileDescriptor knock = makeSocket();
        if (::connect(knock.get(), reinterpret_cast<const sockaddr*>(&address), size) == 0)
            return isPeerOurs(knock.get()) ? Holder::anotherOfOurs : Holder::noneOfOurs;
    }
    return Holder::noneOfOurs;
}

bool InstanceName::answerKnocks() const
{
    bool isAnyOurs = false;
    for (int i = 0; i < mostAnswersAtOnce; ++i) {
        const FileDescriptor knock(::accept4(m_socket.get(), nullptr, nullptr, SOCK_CLOEXEC));
        if (!knock.isValid())
            break;
        isAnyOurs = isAnyOurs || isPeerOurs(knock.get());
    }
    return isAnyOurs;
}

} // namespace kestrum
