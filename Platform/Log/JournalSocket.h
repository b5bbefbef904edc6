// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QtGlobal>

namespace kestrum {

/// The datagram socket of the systemd journal. The socket accepts entries in the journal's native form: one "FIELD=value" per
/// line. The function sd_journal_send of libsystemd is not used: it waits while the journal's queue is full, and it reports
/// success even if there is no journal.
class JournalSocket {
public:
    /// Whether standard error is connected to the journal. If so, $JOURNAL_STREAM contains the device and inode numbers of
    /// standard error.
    static bool isStandardError();

    /// Connects to the socket at `path`. If the connection fails, `send` returns false.
    explicit JournalSocket(const char* path = "/run/systemd/journal/socket");
    ~JournalSocket();
    JournalSocket(const JournalSocket&) = delete;
    JournalSocket& operator=(const JournalSocket&) = delete;

    /// Returns one entry in the journal's native form. `message` and `category` must not contain line ends.
    static QByteArray entry(QtMsgType type, const QByteArray& category, const QByteArray& message);

    /// Sends `entry` without waiting. Returns false if the journal did not accept the entry. Thread-safe.
    bool send(const QByteArray& entry) const;

private:
    int m_descriptor = -1;
};

} // namespace kestrum
