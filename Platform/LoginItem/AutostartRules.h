// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/LoginItem/DesktopEntry.h"

namespace kestrum {

/// The rules by which desktops read autostart entries. "This desktop" is the desktop in "XDG_CURRENT_DESKTOP". If the variable
/// is not set, entries for particular desktops count as entries for this desktop. Any thread.
namespace AutostartRules {

// The keys that desktops read, besides "OnlyShowIn" and "NotShowIn".
inline constexpr char typeKey[] = "Type";
inline constexpr char commandKey[] = "Exec";
inline constexpr char programKey[] = "TryExec";
inline constexpr char hiddenKey[] = "Hidden";
inline constexpr char gnomeKey[] = "X-GNOME-Autostart-enabled";

/// Whether `path` names an executable file. `path` is absolute, or a name that is searched for in "PATH".
bool isProgram(const QByteArray& path);

/// Whether this desktop would start `program` from the entry if the entry is not switched off. Also true if the entry starts
/// the program in another copy of its bundle, or through a link or a shell.
bool starts(const DesktopEntry& entry, const QByteArray& program);

/// Whether the entry is switched off by "Hidden" or by GNOME's key.
bool isOff(const DesktopEntry& entry);

/// Changes the entry so that this desktop does not skip it. Other desktops treat the entry as before.
void showHere(DesktopEntry& entry);

} // namespace AutostartRules
} // namespace kestrum
