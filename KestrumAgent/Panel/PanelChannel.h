// SPDX-License-Identifier: MIT
#pragma once

#include <QMenu>

namespace kestrum {

class PanelStrip;
class PopoverStand;

/// A way to show the strip at the desktop's panel. A channel shows the strip while the strip has items, and hides it
/// otherwise. The channel also opens the menu, the tool tips and the popovers next to the strip. Strip and menu must outlive
/// it. Its destructor leaves the strip as it was: another channel can follow.
class PanelChannel {
public:
    virtual ~PanelChannel() = default;
    PanelChannel(const PanelChannel&) = delete;
    PanelChannel& operator=(const PanelChannel&) = delete;

    /// Where this channel shows popovers. Lives as long as the channel.
    virtual PopoverStand& popoverStand() = 0;

protected:
    PanelChannel() = default;
};

} // namespace kestrum
