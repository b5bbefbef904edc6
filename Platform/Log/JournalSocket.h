// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QtGlobal>

namespace kestrum {

/// The journal's datagram socket. The socket accepts entries in the journal's native form: one "FIELD=value" per line.
/// sd_journal_send of libsystemd is not used, because it waits while the journal's queue is full, and reports success
/// where there is no journal.
class JournalSocket {
public:
    /// Whether standard error is connected to the journal: then $JOURNAL_STREAM contains the device and inode of
    /// standard error.
    static bool isStandardError();

    /// Connects to the socket at `path`. If the connection fails, `send` returns false.
    explicit JournalSocket(const char* path = "/run/systemd/journal/socket");
    ~JournalSocket();
    JournalSocket(const JournalSocket&) = delete;
    JournalSocket& operator=(const JournalSocket&) = delete;

    /// One entry in native form. `message` and `category` must not contain line ends.
    static QByteArray entry(QtMsgType type, const QByteArray& category, const QByteArray& message);

    /// Sends `entry` without waiting. Returns false when the journal did not accept the entry. Any thread.
    bool send(const QByteArray& entry) const;

private:
    int m_descriptor = -1;
};

} // namespace kestrum
