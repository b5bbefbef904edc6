// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Desktop/DesktopNotification.h"
#include "Platform/Desktop/PanelAddition.h"

#include <QList>
#include <QMenu>
#include <QObject>
#include <QStringList>
#include <QTimer>
#include <chrono>
#include <functional>
#include <memory>

namespace kestrum {

/// Offers to add what the desktop's panel needs to show the items: by a notification, and by an entry of the agent's menu as long
/// as it is missing. Nothing is added unless the user says so. Also tells where the part itself is not installed, and where a
/// desktop shows no items at all. Each notification comes once for each desktop: what the desktop has shown is remembered.
class PanelOffer final : public QObject {
    Q_OBJECT
public:
    /// `isNothingShown` tells whether the items are shown nowhere at present.
    explicit PanelOffer(std::function<bool()> isNothingShown, QObject* parent = nullptr);

    /// Looks for what is missing after each of these delays, until all is known and told: at the begin of a session, the panel and
    /// the notification service may still be starting.
    void start(const QList<std::chrono::milliseconds>& delays = usualDelays());
    /// Looks at once; once more, if a look is under way. Emits `looked` at the end.
    void look();

    /// Adds the entry to `menu` if something was missing at the last look.
    void addTo(QMenu& menu);
    /// To be called when the menu opens: somebody else may have installed, added or removed the part meanwhile. Looks anew, unless
    /// the panel is known to have all.
    void lookAgain();
    /// What the panel has may be another by now: the next menu finds out.
    void forget() { m_state = {}; }

Q_SIGNALS:
    void looked();

private:
    static QList<std::chrono::milliseconds> usualDelays();
    void startTurn();
    void lookInTurn();
    void adopt(const PanelAddition::State& state);
    void offer();
    void tellOnce(const QString& key, const DesktopNotification::Content& content);
    void remember(const QString& key);
    void add();

    std::function<bool()> m_isNothingShown;
    std::unique_ptr<PanelAddition> m_part; ///< null on a desktop that needs nothing
    PanelAddition::State m_state;
    DesktopNotification m_notification;
    QTimer m_delay;
    QList<std::chrono::milliseconds> m_delays; ///< that are still to come
    int m_turn = 0;                            ///< how many of the looks have begun
    QStringList m_told;                        ///< what was told by this process, or is about to be
    bool m_hasLooked = false;
    bool m_isLooking = false;
    bool m_isStale = false;   ///< something may have changed since the look began
    bool m_isSettled = false; ///< no further look would tell anything new
};

} // namespace kestrum
