// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumAgent/Panel/FurtherStrips.h"
#include "KestrumAgent/Panel/PanelChannel.h"
#include "KestrumAgent/Panel/PopoverStand.h"
#include "Platform/Desktop/NotificationArea.h"
#include "Platform/Desktop/StatusIcons.h"

#include <QElapsedTimer>
#include <QTimer>
#include <chrono>
#include <memory>

namespace kestrum {

/// Chooses the channel that shows the strip, and chooses anew when the desktop changes: a panel may come late, go, or start
/// again. At most one channel shows the strip at a time. Main thread only.
class PanelChannels final : public QObject {
    Q_OBJECT
public:
    /// Strip and menu must outlive this object. Nothing is shown before `start`.
    PanelChannels(PanelStrip& strip, QMenu& menu, QObject* parent = nullptr);
    ~PanelChannels() override;

    /// Begins to show the strip. With `isBridgeExpected`, nothing is shown for the time that a bridge usually needs to come.
    void start(bool isBridgeExpected = false);
    /// No bridge will come soon: the wait of `start` ends.
    void expectNoBridge();
    /// While a bridge shows the items, no channel does.
    void setBridged(bool isBridged);

    /// What shows the items, in the words of `PanelContract`.
    QString shownBy() const;
    /// The stand of the present channel; null without a channel.
    PopoverStand* stand() const { return m_channel ? &m_channel->popoverStand() : nullptr; }

Q_SIGNALS:
    /// The stand is another one now. Null is told before a channel goes.
    void standChanged(kestrum::PopoverStand* stand);
    /// The user has clicked an item of a strip on another than the main screen.
    void itemClicked(MonitorSection section, kestrum::PopoverStand* stand);
    /// The stand of such a strip is about to go.
    void standLeft(kestrum::PopoverStand* stand);
    /// The wait of `start` for a bridge was in vain.
    void bridgeMissed();

private:
    /// From the best to the worst.
    enum class Way { nothing, notificationArea, statusIcon, strip };

    Way best() const;
    bool isAdopted(Way way) const { return way == m_way && (m_channel || way == Way::nothing); }
    void look();
    void adopt();
    void drop();
    void askAreaAgain();
    void refuseArea(double width);
    void leaveArea(std::chrono::milliseconds delay);
    std::unique_ptr<PanelChannel> made(Way way);
    std::unique_ptr<PanelChannel> madeTray();
    std::unique_ptr<PanelChannel> madeFurther(PanelStrip& strip, QScreen& screen);
    void adoptScreens();

    PanelStrip& m_strip;
    QMenu& m_menu;
    NotificationArea m_area;
    StatusIcons m_icons;
    bool m_isStarted = false;
    bool m_isBridged = false;
    quint32 m_refused = 0;     ///< the area that does not give the strip its room
    double m_refusedWidth = 0; ///< what it gives, in points
    int m_releases = 0;        ///< how often the area has let the strip go soon
    QElapsedTimer m_areaTime;  ///< since the strip was given to the area
    Way m_way = Way::nothing;  ///< without its channel for a while if the area is gone
    std::unique_ptr<PanelChannel> m_channel;
    std::unique_ptr<FurtherStrips> m_further; ///< while there is a strip on every screen
    QTimer m_bridgeWait;
    QTimer m_iconsWait;
    QTimer m_change;
};

} // namespace kestrum
