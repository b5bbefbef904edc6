// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumAgent/Popover/PopoverLayout.h"

namespace kestrum {

/// The element of a popover that has the keyboard focus; at first none.
class PopoverFocus {
public:
    using Path = PopoverLayout::Path;

    const Path& path() const { return m_path; }
    /// Whether the focus is to be seen: only after keys, not after the mouse.
    bool isShown() const { return m_isShown && !m_path.isEmpty(); }
    /// The element that keys act on and that screen readers are at: `path` while the focus is shown, else none.
    Path shownPath() const { return m_isShown ? m_path : Path(); }

    void clear() { *this = {}; }
    void hide() { m_isShown = false; }
    void set(const Path& path, bool isShown);
    /// Moves to the next stop, or to the previous one, and from the last to the first.
    void step(const PopoverLayout& layout, bool isForward);
    /// Moves to the row below or above. The last row is the end. From a place that is no row, moves to the nearest one.
    void stepRow(const PopoverLayout& layout, bool isDown);
    void toFirstRow(const PopoverLayout& layout);
    void toLastRow(const PopoverLayout& layout);
    /// Loses the focus if its element is no stop any more.
    void adopt(const PopoverLayout& layout);

private:
    Path m_path;
    bool m_isShown = false;
};

} // namespace kestrum
