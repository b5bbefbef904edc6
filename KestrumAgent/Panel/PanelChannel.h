// SPDX-License-Identifier: MIT
#pragma once

#include <QMenu>
#include <memory>

namespace kestrum {

class PanelStrip;

/// One of the ways in which a desktop lets a program stand at its panel. It shows the strip, in the strip's own size,
/// while the strip has items, and nothing at all while it has none; it opens the menu and the tool tips beside it.
class PanelChannel {
public:
    virtual ~PanelChannel() = default;
    PanelChannel(const PanelChannel&) = delete;
    PanelChannel& operator=(const PanelChannel&) = delete;

    /// The best way that this desktop has. Strip and menu outlive the channel.
    static std::unique_ptr<PanelChannel> make(PanelStrip& strip, QMenu& menu);

protected:
    PanelChannel() = default;
};

} // namespace kestrum
