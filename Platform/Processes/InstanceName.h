// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Files/FileDescriptor.h"

#include <QByteArray>

namespace kestrum {

/// A name that one process of a user's session holds at a time: an abstract socket address. It is in no directory that could be
/// cleared or that machines share, and the kernel releases it when the process ends. A process that wants a held name connects to
/// the holder ("knocks").
///
/// Any user of the machine can take such a name. So it excludes only processes of the same user: `take` reports all others, and
/// holders that cannot be identified, as `noneOfOurs`.
class InstanceName {
public:
    enum class Holder { thisProcess, anotherOfOurs, noneOfOurs };

    /// Takes the name if it is free. Holds it until `release` or the end of this object.
    Holder take(const QByteArray& name);
    void release() { m_socket = FileDescriptor(); }

    /// Readable when another process knocks; -1 while the name is not held. Owned by this object.
    int descriptor() const { return m_socket.get(); }
    /// Accepts and closes the waiting connections. True if any is from a process of our user.
    [[nodiscard]] bool answerKnocks() const;

    /// The socket's address for the name.
    static QByteArray addressOf(const QByteArray& name);

private:
    FileDescriptor m_socket;
};

} // namespace kestrum
