#pragma once

#include <QObject>
#include <QString>

namespace kestrum {

/// A sentence that the desktop shows to whoever sits before it ("org.freedesktop.Notifications"). Nobody is waited for. Main
/// thread only; one of them a process.
class DesktopNotification final : public QObject {
    Q_OBJECT
public:
    explicit DesktopNotification(QObject* parent = nullptr);
    ~DesktopNotification() override;

    /// Shows `text` as it is, in place of what this showed before. Where the desktop has no session bus, or nobody who shows
    /// notifications, nothing is shown, and a line in the log says so.
    void show(const QString& text);

private:
    void send();

    QString m_text;
    quint32 m_shown = 0; ///< the desktop's number for what is shown; 0 for nothing
    bool m_isJoining = false;
};

} // namespace kestrum
