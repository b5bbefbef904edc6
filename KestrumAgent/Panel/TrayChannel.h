// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumAgent/Panel/PanelChannel.h"
#include "KestrumAgent/Panel/TrayStand.h"
#include "Platform/Desktop/StatusIcons.h"

#include <QObject>
#include <QSystemTrayIcon>

namespace kestrum {

/// Shows one status icon with the readouts in its tool tip. Used on desktops whose panel shows nothing else from programs.
/// The strip itself is never shown. If the desktop has no status icons either, the channel waits until there are some.
class TrayChannel final : public QObject, public PanelChannel {
    Q_OBJECT
public:
    TrayChannel(PanelStrip& strip, QMenu& menu);

    PopoverStand& popoverStand() override { return m_popoverStand; }

private:
    void begin();
    void fit();
    void adoptAppearance();

    PanelStrip& m_strip;
    QMenu& m_menu;
    StatusIcons m_icons;
    std::unique_ptr<QSystemTrayIcon> m_icon;
    TrayStand m_popoverStand;
};

} // namespace kestrum
