// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumAgent/Panel/PanelChannel.h"
#include "KestrumAgent/Panel/PopoverStand.h"
#include "KestrumAgent/Panel/PressMemory.h"
#include "Platform/Desktop/SystemAppearance.h"

#include <QObject>
#include <QSystemTrayIcon>
#include <memory>
#include <optional>

namespace kestrum {

/// Shows one status icon with the readouts in its tool tip. Used on desktops whose panel shows nothing else from programs.
/// The strip itself is never shown. Make it only while a panel shows status icons: the toolkit looks for such a panel once in
/// a process. Afterwards, the panel may go and come back.
class TrayChannel final : public QObject, public PanelChannel {
    Q_OBJECT
public:
    /// `ground` is as for `setGround`. The icon has it from the start: a panel may miss an early change.
    TrayChannel(PanelStrip& strip, QMenu& menu, std::optional<ColourScheme> ground);

    /// Sets the scheme for the icon, if the panel tells it. Otherwise the icon has a plate in the desktop's own scheme.
    void setGround(std::optional<ColourScheme> scheme);

    PopoverStand& popoverStand() override { return *m_popoverStand; }

private:
    void press();
    void fit();
    void adoptAppearance();

    PanelStrip& m_strip;
    QMenu& m_menu;
    std::optional<ColourScheme> m_ground;
    QSystemTrayIcon m_icon;
    std::unique_ptr<PopoverStand> m_popoverStand;
    PressMemory m_dismissal;
};

} // namespace kestrum
