// SPDX-License-Identifier: MIT
// A bus that takes connections and says nothing holds up whoever joins it without a limit: its socket exists, and the kernel
// connects, though the bus has been stopped or hangs. The toolkit and the bus library join in this way, and all connections of a
// process wait for each other there. So a bus must say something before they are let at it.
#include "Platform/Desktop/BusProbe.h"

#include "Platform/Files/FileDescriptor.h"

#include <QByteArray>
#include <QStringList>
#include <algorithm>
#include <array>
#include <cerrno>
#include <cstddef>
#include <optional>
#include <poll.h>
#include <sys/socket.h>
#include <sys/un.h>

namespace kestrum {

namespace {

using Clock = std::chrono::steady_clock;

struct Address {
    sockaddr_un socket {};
    socklen_t size = 0;
};

/// The socket of one bus address, such as "unix:path=/run/bus,guid=1"; nothing for other kinds.
std::optional<Address> socketOf(const QString& address)
{
    constexpr QLatin1StringView kind("unix:");
    if (!address.startsWith(kind))
        return std::nullopt;
    for (const QString& pair : address.mid(kind.size()).split(u',')) {
        const bool isPath = pair.startsWith(QLatin1StringView("path="));
        const bool isAbstract = pair.startsWith(QLatin1StringView("abstract="));
        if (!isPath && !isAbstract)
            continue;
        QByteArray name = QByteArray::fromPercentEncoding(pair.mid(pair.indexOf(u'=') + 1).toUtf8());
        name = isAbstract ? '\0' + name : name + '\0';
        Address found;
        if (std::size_t(name.size()) > sizeof found.socket.sun_path)
            return std::nullopt;
        found.socket.sun_family = AF_UNIX;
        std::copy(name.begin(), name.end(), found.socket.sun_path);
        found.size = socklen_t(offsetof(sockaddr_un, sun_path) + std::size_t(name.size()));
        return found;
    }
    return std::nullopt;
}

/// Whether there is something to read, or the other side has closed the connection, before `end`.
bool hasInput(int descriptor, Clock::time_point end)
{
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(end - Clock::now()).count();
    pollfd wanted { descriptor, POLLIN, 0 };
    return ::poll(&wanted, 1, int(std::max<qint64>(0, left))) > 0;
}

bool isSilentAt(const Address& address, Clock::time_point end)
{
    const FileDescriptor bus(::socket(AF_UNIX, SOCK_STREAM | SOCK_CLOEXEC | SOCK_NONBLOCK, 0));
    if (!bus.isValid())
        return false;
    // A bus with too many who wait for it keeps others waiting in the kernel.
    if (::connect(bus.get(), reinterpret_cast<const sockaddr*>(&address.socket), address.size) != 0)
        return errno == EAGAIN;
    // Asks which ways of proving who one is there are.
    static constexpr std::array<char, 7> question { '\0', 'A', 'U', 'T', 'H', '\r', '\n' };
    return ::send(bus.get(), question.data(), question.size(), MSG_NOSIGNAL) == ssize_t(question.size())
        && !hasInput(bus.get(), end);
}

} // namespace

bool BusProbe::isSilent(const QString& address, std::chrono::milliseconds patience)
{
    const Clock::time_point end = Clock::now() + patience;
    const QStringList addresses = address.split(u';', Qt::SkipEmptyParts);
    return std::any_of(addresses.begin(), addresses.end(), [end](const QString& one) {
        const auto socket = socketOf(one);
        return socket && isSilentAt(*socket, end);
    });
}

} // namespace kestrum
