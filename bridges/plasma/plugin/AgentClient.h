// SPDX-License-Identifier: MIT
#pragma once

#include "PanelItems.h"

#include <QColor>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QImage>
#include <QObject>
#include <QPointF>
#include <QSet>
#include <QTimer>
#include <QVariantMap>
#include <functional>
#include <optional>

namespace kestrum {

/// The agent as a panel sees it: its items, and the popover of one of them. Attaches itself whenever the agent is on the session
/// bus. No call waits: what the agent answers, and that it is gone, is told by signals.
class AgentClient : public QObject {
    Q_OBJECT
    Q_PROPERTY(bool isAttached READ isAttached NOTIFY attachedChanged)
    Q_PROPERTY(QAbstractItemModel* items READ itemModel CONSTANT)
    /// Pixels per point of the items.
    Q_PROPERTY(double scale READ scale WRITE setScale NOTIFY lookChanged)
    /// The colour of texts in the panel.
    Q_PROPERTY(QColor foreground READ foreground WRITE setForeground NOTIFY lookChanged)
    /// Pixels per point of a popover, and its greatest height in points.
    Q_PROPERTY(double popoverScale READ popoverScale WRITE setPopoverScale NOTIFY lookChanged)
    Q_PROPERTY(int popoverRoom READ popoverRoom WRITE setPopoverRoom NOTIFY lookChanged)
    /// The item whose popover is open or about to open; empty without one.
    Q_PROPERTY(QString openItem READ openItem NOTIFY popoverChanged)
    /// The picture of the open popover, and the item that it is of: while the popover turns to another item, still the former one.
    /// Null and empty until the agent has sent it.
    Q_PROPERTY(QImage popoverPicture READ popoverPicture NOTIFY popoverChanged)
    Q_PROPERTY(QString popoverItem READ popoverItem NOTIFY popoverChanged)
    /// What a screen reader says of the popover: the element that the keyboard is at, else all of it.
    Q_PROPERTY(QString popoverText READ popoverText NOTIFY popoverChanged)
    /// The entries of the menu that was asked for last, as `PanelMessages::actions`.
    Q_PROPERTY(QVariantList actions READ actions NOTIFY actionsChanged)
public:
    /// The session bus of this process.
    explicit AgentClient(QObject* parent = nullptr);
    explicit AgentClient(const QDBusConnection& bus, QObject* parent = nullptr);
    ~AgentClient() override;

    bool isAttached() const { return m_bridge != 0; }
    PanelItems& items() { return m_items; }
    QAbstractItemModel* itemModel() { return &m_items; }

    double scale() const { return m_scale; }
    void setScale(double scale);
    QColor foreground() const { return m_foreground; }
    void setForeground(const QColor& colour);
    double popoverScale() const { return m_popoverScale; }
    void setPopoverScale(double scale);
    int popoverRoom() const { return m_popoverRoom; }
    void setPopoverRoom(int points);

    QString openItem() const { return m_openItem; }
    QImage popoverPicture() const { return m_openItem.isEmpty() ? QImage() : m_popoverPicture; }
    QString popoverItem() const { return popoverPicture().isNull() ? QString() : m_popoverItem; }
    QString popoverText() const { return m_popoverFocus.isEmpty() ? m_popoverText : m_popoverFocus; }
    QVariantList actions() const { return m_actions; }

    Q_INVOKABLE void openPopover(const QString& item);
    Q_INVOKABLE void closePopover();
    /// What the pointer does on the popover's picture, in the interface's words and in points. Of moves, only the last one is
    /// sent while the agent has not answered.
    Q_INVOKABLE void point(const QString& kind, const QPointF& at, double notches = 0);
    /// Hands a key of the toolkit on to the popover. Returns false for what is no key of its own, such as Shift.
    Q_INVOKABLE bool pressKey(int key, int modifiers);
    /// Asks for the menu's entries; an empty `item` stands for the whole panel.
    Q_INVOKABLE void requestActions(const QString& item);
    /// Does what an entry of the last menu, or `choiceRequested`, says. `token` is the desktop's leave to open a window, or empty.
    Q_INVOKABLE void choose(const QString& action, const QString& token);

Q_SIGNALS:
    void attachedChanged();
    void lookChanged();
    void popoverChanged();
    void actionsChanged();
    /// The user has chosen in the popover what opens a window: `choose` is to be called with `action` and a token.
    void choiceRequested(const QString& action);

private Q_SLOTS:
    void ownerChanged(const QDBusMessage& message);
    void takeItems(const QDBusMessage& message);
    void takePopover(const QDBusMessage& message);
    void takeRequest(const QDBusMessage& message);
    void takeClosed(const QDBusMessage& message);
    void takeChoice(const QDBusMessage& message);
    void takeCopied(const QDBusMessage& message);

private:
    using Answered = std::function<void(const QDBusMessage&)>;

    void setOwner(const QString& owner);
    void followSignals(bool isFollowed);
    void attach();
    void attached(const QDBusMessage& answer, const QVariantMap& toldLook);
    void sendLook();
    void call(const QString& method, const QVariantList& arguments, const Answered& answered = {});
    void callForPopover(const QString& method, const QVariantList& arguments);
    void popoverAnswered();
    void forgetPopover();
    void complain(const QString& kind, const QString& reason);
    bool isMine(const QDBusMessage& message) const;
    QVariantMap look() const;

    QDBusConnection m_bus;
    QString m_owner; ///< the agent's own name on the bus; empty without an agent
    uint m_bridge = 0;
    bool m_hasMissedItems = false; ///< items came before the answer to Attach
    PanelItems m_items;
    double m_scale = 1;
    QColor m_foreground;
    double m_popoverScale = 1;
    int m_popoverRoom = 800;
    QTimer m_lookTimer;
    QTimer m_attachTimer;

    QString m_openItem;
    QImage m_popoverPicture;
    QString m_popoverItem;
    QString m_popoverText;
    QString m_popoverFocus;
    int m_popoverCalls = 0; ///< that the agent has not answered
    bool m_isPanelEnding = false;
    bool m_isMoveSent = false;
    std::optional<QPointF> m_nextMove;

    QString m_actionsItem;
    QVariantList m_actions;
    QSet<QString> m_complaints;
};

} // namespace kestrum
