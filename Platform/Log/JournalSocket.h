#pragma once

#include <QByteArray>
#include <QtGlobal>

namespace kestrum {

/// The journal's datagram socket, to which entries go in its native form: one "FIELD=value" a line.
class JournalSocket {
public:
    /// Whether standard error leads to the journal: $JOURNAL_STREAM names its device and inode.
    static bool isStandardError();

    /// Connects to the socket at `path`. Without one, `send` returns false.
    explicit JournalSocket(const char* path = "/run/systemd/journal/socket");
    ~JournalSocket();
    JournalSocket(const JournalSocket&) = delete;
    JournalSocket& operator=(const JournalSocket&) = delete;

    /// One entry in native form. `message` and `category` must be free of line ends.
    static QByteArray entry(QtMsgType type, const QByteArray& category, const QByteArray& message);

    /// Hands `entry` over without waiting. False when the journal did not take it. Any thread.
    bool send(const QByteArray& entry) const;

private:
    int m_descriptor = -1;
};

} // namespace kestrum
