// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Agent/PanelContract.h"
#include "KestrumShared/Vocabulary/MonitorSection.h"
#include "Platform/Desktop/BusReturn.h"

#include <QDBusContext>
#include <QObject>
#include <QRect>
#include <QTimer>
#include <QVariantMap>
#include <functional>
#include <map>
#include <memory>

class QDBusMessage;
class QMenu;

namespace kestrum {

class AttachedBridge;
class BridgeStand;
class PanelStrip;
class PopoverController;

/// The agent on the session bus: what parts of desktops' panels, the bridges, need to show the items. The interface is described
/// in com.orvale.kestrum.Panel1.xml, from which its adaptor is made. Without a bridge nothing is drawn and nothing is sent. Main
/// thread only.
class PanelService final : public QObject, protected QDBusContext {
    Q_OBJECT
    Q_PROPERTY(uint Version READ version)
    Q_PROPERTY(QString ShownBy READ shownBy)
public:
    static constexpr int mostBridges = 8;
    static constexpr int longestHost = 64;
    static constexpr int longestToken = 1024;

    /// `strip` has the items, which need not be visible; `menu` is filled when it is about to be shown. All must outlive the
    /// service.
    PanelService(PanelStrip& strip, PopoverController& popovers, QMenu& menu, QObject* parent = nullptr);
    ~PanelService() override;

    /// Joins the session bus, on another thread. Emits `settled` when the agent can be found there, or cannot be. Where the bus
    /// is missing or goes, it is joined when it is there again.
    void start();

    /// Whether a bridge shows the items.
    bool isUsed() const { return !m_bridges.empty(); }
    /// The hosts of the bridges, separated by commas; without one, what `setOwnWay` has told.
    QString shownBy() const;
    /// Tells what shows the items while no bridge is attached.
    void setOwnWay(const QString& name) { m_ownWay = name; }
    uint version() const { return PanelContract::version; }

    /// Asks the bridge that was used last to open the item's popover. Without a bridge, returns false.
    bool requestPopover(MonitorSection section);
    /// Has the bridge choose `action`, with an activation token that only it can get, if what the user does at present is done in a
    /// bridge's popover. Otherwise does nothing and returns false.
    bool requestChoice(const QString& action);
    /// The action that opens the program for processes. The others are the menu's.
    static constexpr QLatin1StringView systemMonitorAction { "system-monitor" };

public Q_SLOTS:
    // The interface's methods.
    uint Attach(const QString& host, const QVariantMap& look);
    void Look(uint bridge, const QVariantMap& look);
    void Detach(uint bridge);
    void OpenPopover(uint bridge, const QString& item, const QVariantMap& look);
    void ClosePopover(uint bridge);
    void Pointer(uint bridge, const QString& kind, double x, double y, double notches);
    void Key(uint bridge, const QString& key);
    void ShowPopover(uint bridge, const QString& item, const QRect& place, const QString& token);
    QList<kestrum::PanelMenuEntry> Actions(const QString& item);
    void Choose(const QString& action, const QString& item, const QString& token);
    void Reorder(const QStringList& items);

Q_SIGNALS:
    void settled(bool isOnBus);
    /// A first bridge has come, or the last one has gone.
    void usedChanged();
    /// A bridge for this host has come.
    void attached(const QString& host);
    /// The last bridge has been detached, and has not only left the bus. It was for this host.
    void detached(const QString& host);
    /// `systemMonitorAction` is chosen. The token for its window is where `WindowActivation::takeToken` finds it.
    void systemMonitorChosen();
    /// The user wants the agent's own window beside a place, in the display's pixels.
    void popoverWanted(MonitorSection section, const QRect& place, const QByteArray& token);

private Q_SLOTS:
    void clientLeft(const QString& client, const QString& before, const QString& now);
    void busLost();

private:
    AttachedBridge* own(uint number);
    AttachedBridge* find(uint number) const;
    bool hasBridgeOf(const QString& client) const;
    void watch(const QString& client);
    void drop(uint number);
    void requestName();
    void sendItems();
    void move(MonitorSection section, int step);
    void act(uint number, const std::function<void(BridgeStand&)>& act);
    void send(AttachedBridge& bridge, const char* signal, const QVariantList& arguments);
    void askForSign(const AttachedBridge& bridge);
    static QByteArray usableToken(const QString& token);

    PanelStrip& m_strip;
    PopoverController& m_popovers;
    QMenu& m_menu;
    std::map<uint, std::unique_ptr<AttachedBridge>> m_bridges;
    uint m_lastNumber = 0;
    uint m_lastUsed = 0;
    uint m_acting = 0;   ///< the bridge in whose popover the user does something at present
    QString m_requested; ///< the action that a bridge is to choose
    QTimer m_requestWait;
    QString m_ownWay = PanelContract::nothing;
    BusReturn m_return;
};

} // namespace kestrum
