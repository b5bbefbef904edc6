// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumAgent/Popover/PopoverLayout.h"

namespace kestrum {

class PopoverWindow;

/// Shows popovers to screen readers: a dialog with the elements by which the parts describe themselves.
namespace PopoverAccessible {

/// Must be called before the first popover's window is used. Further calls have no effect.
void install();

/// Tells assistive programs which element of the window has the focus: without any, the window itself.
void tellFocus(PopoverWindow& window);
/// Tells assistive programs what is different in the window since it had the layout `before`. Values are not told: screen
/// readers would speak at every tick. They are read when the user asks. Of the focused row, only another owner is told.
void tellChanges(PopoverWindow& window, const PopoverLayout& before);

} // namespace PopoverAccessible
} // namespace kestrum
