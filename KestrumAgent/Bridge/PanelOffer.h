// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Desktop/DesktopNotification.h"
#include "Platform/Desktop/PanelAddition.h"

#include <QMenu>
#include <QObject>
#include <QTimer>
#include <functional>
#include <memory>

namespace kestrum {

/// Offers to add what the desktop's panel needs to show the items: once for each desktop by a notification, and by an entry of the
/// agent's menu as long as it is missing. Nothing is added unless the user says so.
class PanelOffer final : public QObject {
    Q_OBJECT
public:
    /// `isNothingShown` tells whether the items are shown nowhere at present.
    explicit PanelOffer(std::function<bool()> isNothingShown, QObject* parent = nullptr);

    /// Looks for what is missing, a little later: at the begin of a session, the panel may still be starting.
    void start() { m_delay.start(); }
    /// Looks at once; once more, if a look is under way. Emits `looked` at the end.
    void look();

    /// Adds the entry to `menu` if something is missing.
    void addTo(QMenu& menu);

Q_SIGNALS:
    void looked();

private:
    void adopt(const PanelAddition::State& state);
    void offer();
    void add();
    void tell(const QString& sentence, const QString& reason = {});

    std::function<bool()> m_isNothingShown;
    std::unique_ptr<PanelAddition> m_part; ///< null on a desktop that needs nothing
    DesktopNotification m_notification;
    QTimer m_delay;
    bool m_isMissing = false;
    bool m_isLooking = false;
    bool m_isStale = false; ///< something may have changed since the look began
};

} // namespace kestrum
