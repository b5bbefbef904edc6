// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Files/FileDescriptor.h"

#include <QByteArray>

namespace kestrum {

/// A name that only one process of a user's session can hold at a time. The name is an abstract socket address, not a file, so
/// it cannot be deleted, and machines do not share it. The kernel releases the name when the process ends. A process that wants
/// a held name connects to the holder ("knocks").
///
/// Other users of the machine can take the same name. So only a holder of the same user counts. `take` reports a holder that is
/// unknown or belongs to another user as `noneOfOurs`.
class InstanceName {
public:
    enum class Holder { thisProcess, anotherOfOurs, noneOfOurs };

    /// Takes the name if it is free. The name is held until `release` or the destruction of this object.
    Holder take(const QByteArray& name);
    void release() { m_socket = FileDescriptor(); }

    /// A descriptor that is readable when another process knocks; -1 while the name is not held. Owned by this object.
    int descriptor() const { return m_socket.get(); }
    /// Accepts and closes the waiting connections. Returns true if a process of this user made any of them.
    [[nodiscard]] bool answerKnocks() const;

    /// The abstract socket address for `name`.
    static QByteArray addressOf(const QByteArray& name);

private:
    FileDescriptor m_socket;
};

} // namespace kestrum
