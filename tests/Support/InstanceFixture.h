// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Processes/SingleInstance.h"
#include "tests/Support/HelperProcess.h"
#include "tests/Support/TestHome.h"

#include <QElapsedTimer>
#include <QFile>
#include <QSignalSpy>
#include <QTest>
#include <algorithm>
#include <sys/socket.h>
#include <sys/un.h>

namespace kestrum {

/// A first instance named "Kestrum", and the requests to it.
struct FirstInstance {
    SingleInstance instance { "Kestrum" };
    QSignalSpy asked { &instance, &SingleInstance::raiseRequested };
};

/// The files of the instance "Kestrum", and other processes that start it or send to it.
struct InstanceFixture {
    static QString folder() { return TestHome::runtimeDirectory() + QStringLiteral("/kestrum"); }
    /// The path of the instance's lock or socket, which differ in their suffix.
    static QString path(const char* suffix)
    {
        return folder() + QStringLiteral("/Kestrum") + QLatin1StringView(suffix);
    }

    /// The arguments with which a `HelperProcess` starts as this instance.
    static QStringList start(const QString& token = {})
    {
        return { QStringLiteral("instance"), QStringLiteral("Kestrum"), token };
    }

    /// Whether a second start reaches the first one, and exits with 0 within the given time.
    static bool isAnswered(int milliseconds = HelperProcess::patience)
    {
        QElapsedTimer clock;
        clock.start();
        HelperProcess second(start());
        return QTest::qWaitFor([&] { return second.hasEnded(); }) && second.finish() == 0
            && second.line() == "second" && clock.elapsed() < milliseconds;
    }

    /// The address of a socket at `path`. If `path` begins with a zero byte, it is an abstract address.
    static sockaddr_un addressOf(const QByteArray& path)
    {
        sockaddr_un address {};
        address.sun_family = AF_UNIX;
        std::copy(path.begin(), path.end(), static_cast<char*>(address.sun_path));
        return address;
    }
    static sockaddr_un addressOfSocket() { return addressOf(QFile::encodeName(path(".socket"))); }

    /// Sends any datagram to the instance's socket, as every program of the user can. False if the socket's queue is full.
    static bool send(const QByteArray& datagram)
    {
        const sockaddr_un address = addressOfSocket();
        const FileDescriptor socket(::socket(AF_UNIX, SOCK_DGRAM | SOCK_NONBLOCK | SOCK_CLOEXEC, 0));
        return ::sendto(socket.get(), datagram.constData(), size_t(datagram.size()), MSG_NOSIGNAL,
                   reinterpret_cast<const sockaddr*>(&address), sizeof address)
            == ssize_t(datagram.size());
    }
};

} // namespace kestrum
