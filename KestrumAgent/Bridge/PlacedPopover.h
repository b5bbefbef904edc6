// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumAgent/Panel/PressMemory.h"
#include "KestrumShared/Vocabulary/MonitorSection.h"

#include <QByteArray>
#include <QRect>
#include <memory>
#include <optional>

namespace kestrum {

class PanelStrip;
class PopoverController;
class PopoverStand;

/// Shows the agent's own popover window for a panel that cannot show popovers: on X11 beside the place that the panel tells, and
/// elsewhere where the desktop puts it. Both objects must outlive this one.
class PlacedPopover {
public:
    PlacedPopover(PanelStrip& strip, PopoverController& popovers);
    ~PlacedPopover();
    Q_DISABLE_COPY_MOVE(PlacedPopover)

    /// Opens the popover of `section`, or closes it if it is open. `place` is in the display's pixels; if it is empty, or on no
    /// screen, the pointer's place is meant. `token` is an activation token or empty.
    void show(MonitorSection section, const QRect& place, const QByteArray& token);

private:
    void makeStand();

    PanelStrip& m_strip;
    PopoverController& m_popovers;
    std::unique_ptr<PopoverStand> m_stand; ///< from the first popover on
    std::optional<MonitorSection> m_shown; ///< the last one
    PressMemory m_dismissal;
};

} // namespace kestrum
