// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QtGlobal>

namespace kestrum {

/// The journal's datagram socket, which takes entries in its native form: one "FIELD=value" a line. Not libsystemd's
/// sd_journal_send: that waits while the journal's queue is full, and reports success where there is no journal.
class JournalSocket {
public:
    /// Whether standard error leads to the journal: $JOURNAL_STREAM names its device and inode.
    static bool isStandardError();

    /// Connects to the socket at `path`. Where there is none, `send` returns false.
    explicit JournalSocket(const char* path = "/run/systemd/journal/socket");
    ~JournalSocket();
    JournalSocket(const JournalSocket&) = delete;
    JournalSocket& operator=(const JournalSocket&) = delete;

    /// One entry in native form. `message` and `category` must be free of line ends.
    static QByteArray entry(QtMsgType type, const QByteArray& category, const QByteArray& message);

    /// Sends `entry` without waiting. False when the journal did not take it. Any thread.
    bool send(const QByteArray& entry) const;

private:
    int m_descriptor = -1;
};

} // namespace kestrum
