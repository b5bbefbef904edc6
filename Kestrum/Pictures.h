// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

namespace kestrum {

class SettingsView;

/// Pictures of the window, for use without a display.
namespace Pictures {

/// Saves pictures of every page of `window` into `directory`: in the light and the dark scheme, at scale 1 and 2, with names such
/// as "menuBar-light@2x.png". A file such as "menuBar.tree.txt" has the page's `AccessibilityDump`. Creates `directory` if it is
/// missing. The window shows the pages in turn, and at the end the original page. If a file cannot be written, writes a line
/// to standard error and returns false.
bool save(SettingsView& window, const QString& directory);

} // namespace Pictures
} // namespace kestrum
