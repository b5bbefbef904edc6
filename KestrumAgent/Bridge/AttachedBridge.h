// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumAgent/Bridge/BridgeStand.h"
#include "KestrumAgent/Bridge/PanelLook.h"
#include "KestrumShared/Agent/PanelContract.h"
#include "KestrumShared/Vocabulary/MonitorSection.h"

#include <QImage>
#include <QMap>

namespace kestrum {

class PanelStrip;

/// A bridge that shows the items, and what it has been told of them.
class AttachedBridge {
public:
    /// `client` is the caller's own name on the bus.
    AttachedBridge(uint number, const QString& client, const QString& host, const QVariantMap& look);

    uint number() const { return m_number; }
    const QString& client() const { return m_client; }
    const QString& host() const { return m_host; }
    const PanelLook& look() const { return m_look; }

    /// All pictures are new after this.
    void setLook(const QVariantMap& look);

    /// The strip's items as they are to be sent, with pixels only for those that look different than at the last call. Empty
    /// without any difference; an `std::optional`, since no item at all is something to tell too.
    std::optional<QList<PanelItem>> news(const PanelStrip& strip);

    BridgeStand& stand() { return m_stand; }

    /// Whether the client knows its number: before that, it could not tell what it is sent from another bridge's.
    bool knowsNumber() const { return m_knowsNumber; }
    void setKnowsNumber() { m_knowsNumber = true; }

    /// Whether the client takes what it is sent, as far as is known. For one that hangs, the bus would have to keep all of it.
    bool isReading() const { return m_sent < mostUnread; }
    /// Notes that a message goes to the client. True if the client is to be asked for a sign of life now.
    bool noteSent();
    /// The client has answered, and so it has taken what was sent before.
    void noteAnswer();

private:
    static constexpr int unasked = 16; ///< so many messages are sent before the client is asked
    static constexpr int mostUnread = 64;

    uint m_number;
    QString m_client;
    QString m_host;
    PanelLook m_look;
    std::optional<QList<PanelItem>> m_told; ///< without pixels
    QMap<MonitorSection, QImage> m_pictures;
    BridgeStand m_stand;
    bool m_knowsNumber = false;
    bool m_isAsked = false;
    int m_sent = 0; ///< messages since the last answer
};

} // namespace kestrum
