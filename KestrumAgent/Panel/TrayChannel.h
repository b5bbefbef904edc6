// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumAgent/Panel/PanelChannel.h"
#include "Platform/Desktop/StatusIcons.h"

#include <QObject>
#include <QSystemTrayIcon>

namespace kestrum {

/// One icon among the desktop's status icons, with the readouts in its tool tip: for desktops that let no program stand
/// at their panel in a form of its own. The strip is never shown. Where there are no status icons either, nothing is, until
/// there are.
class TrayChannel final : public QObject, public PanelChannel {
    Q_OBJECT
public:
    TrayChannel(PanelStrip& strip, QMenu& menu);

private:
    void begin();
    void tellWhereThereAreNone();
    void fit();
    void adoptAppearance();

    PanelStrip& m_strip;
    QMenu& m_menu;
    StatusIcons m_icons;
    std::unique_ptr<QSystemTrayIcon> m_icon;
};

} // namespace kestrum
