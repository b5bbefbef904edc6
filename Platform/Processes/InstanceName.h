#pragma once

#include "Platform/Files/FileDescriptor.h"

#include <QByteArray>

namespace kestrum {

/// A name that one process of a user's session has at a time. It is the kernel's, in no folder that somebody could clear, and it
/// goes with its process, however that ends. Whoever wants a name that is taken knocks at its holder.
///
/// Anybody on the machine may take such a name. So it keeps out processes of our own only: of whom else has it, or does not say
/// who he is, `take` tells that it is none of ours.
class InstanceName {
public:
    enum class Holder { thisProcess, anotherOfOurs, noneOfOurs };

    /// Takes the name where it is free. Holds it until `release` or the end of this object.
    Holder take(const QByteArray& name);
    void release() { m_socket = FileDescriptor(); }

    /// Readable when somebody knocks; -1 while the name is not held. Owned by this object.
    int descriptor() const { return m_socket.get(); }
    /// Answers those who knocked up to now; true when any of them is ours.
    bool answerKnocks() const;

    /// The address of the socket that stands for the name.
    static QByteArray addressOf(const QByteArray& name);

private:
    FileDescriptor m_socket;
};

} // namespace kestrum
