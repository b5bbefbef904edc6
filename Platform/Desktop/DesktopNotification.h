#pragma once

#include <QByteArray>
#include <QObject>
#include <QString>

class QDBusMessage;

namespace kestrum {

/// A sentence that the desktop shows to whoever sits before it ("org.freedesktop.Notifications"). Nobody is waited for. Main
/// thread only; one of them a process.
class DesktopNotification final : public QObject {
    Q_OBJECT
public:
    /// All of it is plain text; what is empty is left out.
    struct Content {
        QString heading;
        QString text; ///< below it
        QString button;
        QString textWithoutButton; ///< in place of `text`, where the desktop shows no buttons
    };

    explicit DesktopNotification(QObject* parent = nullptr);
    ~DesktopNotification() override;

    /// Shows `content` in place of what this showed before. Where the desktop has no session bus, or nobody who shows
    /// notifications, nothing is shown, and a line in the log says so.
    void show(const Content& content);

Q_SIGNALS:
    /// Somebody pressed the button. The token is the desktop's for what is opened then, and may be empty.
    void pressed(const QByteArray& activationToken);

private Q_SLOTS:
    void actionInvoked(uint number, const QString& action);
    void activationToken(uint number, const QString& token);

private:
    void join();
    void askWhatIsShown();
    void send(bool hasButtons, bool readsMarkup);

    Content m_content;
    quint32 m_shown = 0; ///< the desktop's number for what is shown; 0 for nothing
    QByteArray m_token;  ///< for the button that is pressed next
    bool m_isJoining = false;
};

} // namespace kestrum
