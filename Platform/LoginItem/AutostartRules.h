// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/LoginItem/DesktopEntry.h"

namespace kestrum {

/// What desktops make of an entry of what starts at login. This desktop is that of "XDG_CURRENT_DESKTOP"; where it is not known,
/// entries for particular desktops count as for it. Any thread.
namespace AutostartRules {

// The keys by which desktops go, besides "Hidden" and "Exec".
inline constexpr char typeKey[] = "Type";
inline constexpr char commandKey[] = "Exec";
inline constexpr char programKey[] = "TryExec";
inline constexpr char hiddenKey[] = "Hidden";
inline constexpr char gnomeKey[] = "X-GNOME-Autostart-enabled";

/// Whether `path` can be run: an absolute path, or a name that is looked for where programs are.
bool isProgram(const QByteArray& path);

/// Whether this desktop would start `program`, or the same program of another copy of its bundle, from the entry if that is not
/// switched off. By way of a link or of a shell counts too.
bool starts(const DesktopEntry& entry, const QByteArray& program);

/// Whether the entry is switched off, in one of the two ways in which desktops do it.
bool isOff(const DesktopEntry& entry);

/// Takes out of the entry that this desktop skips it; for others it stays as it is.
void showHere(DesktopEntry& entry);

} // namespace AutostartRules
} // namespace kestrum
