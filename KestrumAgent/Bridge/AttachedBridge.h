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

private:
    uint m_number;
    QString m_client;
    QString m_host;
    PanelLook m_look;
    std::optional<QList<PanelItem>> m_told; ///< without pixels
    QMap<MonitorSection, QImage> m_pictures;
    BridgeStand m_stand;
};

} // namespace kestrum
