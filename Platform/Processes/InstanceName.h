// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Files/FileDescriptor.h"

#include <QByteArray>

namespace kestrum {

/// A name that only one process of a user's session can hold at a time: an abstract socket address. The name is in no
/// directory, so it cannot be deleted, and machines do not share it. The kernel releases the name when the process ends. A
/// process that wants a held name connects to the holder ("knocks").
///
/// Any user of the machine can take such a name. So a held name excludes only processes of the same user. `take` reports
/// holders of other users, and unidentified holders, as `noneOfOurs`.
class InstanceName {
public:
    enum class Holder { thisProcess, anotherOfOurs, noneOfOurs };

    /// Takes the name if it is free. The name is held until `release` or the destruction of this object.
    Holder take(const QByteArray& name);
    void release() { m_socket = FileDescriptor(); }

    /// Readable when another process knocks; -1 while the name is not held. Owned by this object.
    int descriptor() const { return m_socket.get(); }
    /// Accepts and closes the waiting connections. True if any is from a process of our user.
    [[nodiscard]] bool answerKnocks() const;

    /// The abstract socket address for `name`.
    static QByteArray addressOf(const QByteArray& name);

private:
    FileDescriptor m_socket;
};

} // namespace kestrum
