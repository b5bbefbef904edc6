#pragma once

#include <QString>

namespace kestrum {

class SettingsView;

/// Pictures of the window, to be looked at where there is no display.
namespace Pictures {

/// Saves every page of `window` in light and dark at scale 1 and 2 into `directory` (made when it is missing)
/// as "menuBar-light@2x.png" and so on, and beside them, as "menuBar.tree.txt", what assistive programs are told of the page, as
/// the toolkit has it in this process (how it crosses the bus, the end-to-end tests see). Shows the pages in turn and returns to the one that was
/// shown. False, with a line on standard error, when a file cannot be written.
bool save(SettingsView& window, const QString& directory);

} // namespace Pictures
} // namespace kestrum
