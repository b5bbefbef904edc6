// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

namespace kestrum {

class SettingsView;

/// Pictures of the window, for use without a display.
namespace Pictures {

/// Saves pictures of every page of `window` into `directory`: in the light and the dark scheme, at scale 1 and 2, with names
/// such as "menuBar-light@2x.png". "menuBar.tree.txt" beside them is the page's `AccessibilityDump`. Creates `directory` if it
/// is missing. Shows the pages in turn, then the page shown before. Returns false, with a line on standard error, if a file
/// cannot be written.
bool save(SettingsView& window, const QString& directory);

} // namespace Pictures
} // namespace kestrum
