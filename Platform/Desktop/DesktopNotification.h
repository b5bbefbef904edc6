// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QObject>
#include <QString>
#include <functional>

namespace kestrum {

/// A notification that the desktop shows ("org.freedesktop.Notifications"). Calls to the desktop are asynchronous. Main
/// thread only.
class DesktopNotification final : public QObject {
    Q_OBJECT
public:
    /// The parts of a notification, all in plain text. Empty parts are left out.
    struct Content {
        QString heading;
        QString text; ///< below the heading
        QString button;
        QString textWithoutButton; ///< replaces `text` if the desktop shows no buttons
    };

    explicit DesktopNotification(QObject* parent = nullptr);
    ~DesktopNotification() override;

    /// Called with whether the desktop has taken the notification to show it.
    using Answered = std::function<void(bool)>;

    /// Shows `content` in place of the previous notification. Without a session bus or a notification service, nothing is
    /// shown and the reason is logged. `answered` is called at most once, perhaps before this returns, and not after this
    /// object is destroyed.
    void show(const Content& content, Answered answered = {});

Q_SIGNALS:
    /// The button was pressed. `activationToken` is the desktop's token for a window that opens then; it may be empty.
    void pressed(const QByteArray& activationToken);

private Q_SLOTS:
    void actionInvoked(uint number, const QString& action);
    void activationToken(uint number, const QString& token);

private:
    void join();
    void askWhatIsShown();
    void send(bool hasButtons, bool readsMarkup);
    void fail(const QString& reason);

    QString m_connection; ///< the name of the connection to the bus
    Content m_content;
    Answered m_answered;        ///< for `m_content`; empty as soon as that was sent
    quint32 m_shown = 0;        ///< the desktop's id of the shown notification; 0 if there is none
    QByteArray m_token;         ///< the activation token for the next press of the button
    bool m_isPreparing = false; ///< from the first call to the bus until the content is sent
};

} // namespace kestrum
