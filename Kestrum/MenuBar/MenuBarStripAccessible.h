// SPDX-License-Identifier: MIT
#pragma once

namespace kestrum {

class MenuBarStripView;

/// The strip for screen readers: a list with one entry per item, in the order shown. Each entry has the item's name, its readout
/// and a hint how to move it.
namespace MenuBarStripAccessible {

/// Sets this interface for every `MenuBarStripView`. Call this first in the strip's constructor; further calls change nothing.
void install();
/// Reports to assistive programs that the focused item of `strip` has the keyboard focus.
void tellFocus(MenuBarStripView* strip);

} // namespace MenuBarStripAccessible
} // namespace kestrum
