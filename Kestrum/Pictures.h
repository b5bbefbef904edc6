// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

namespace kestrum {

class SettingsView;

/// Pictures of the window, for use without a display.
namespace Pictures {

/// Saves every page of `window` in light and dark at scale 1 and 2 into `directory`, which is created if missing: as
/// "menuBar-light@2x.png" and so on. "menuBar.tree.txt" beside them is the page's `AccessibilityDump`. Shows the pages in turn and
/// returns to the page shown before. False, with a line on standard error, if a file cannot be written.
bool save(SettingsView& window, const QString& directory);

} // namespace Pictures
} // namespace kestrum
