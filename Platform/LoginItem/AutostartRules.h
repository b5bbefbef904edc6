// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/LoginItem/DesktopEntry.h"

namespace kestrum {

/// How desktops read an autostart entry. This desktop is the one in "XDG_CURRENT_DESKTOP"; where that is not set, entries
/// for particular desktops count as entries for this one. Any thread.
namespace AutostartRules {

// The keys that desktops read, besides "OnlyShowIn" and "NotShowIn".
inline constexpr char typeKey[] = "Type";
inline constexpr char commandKey[] = "Exec";
inline constexpr char programKey[] = "TryExec";
inline constexpr char hiddenKey[] = "Hidden";
inline constexpr char gnomeKey[] = "X-GNOME-Autostart-enabled";

/// Whether `path` can be run: an absolute path, or a name that is looked up in "PATH".
bool isProgram(const QByteArray& path);

/// Whether this desktop would start `program`, or the same program in another copy of its bundle, from the entry if that is
/// not switched off. Starting it by a link or by a shell counts too.
bool starts(const DesktopEntry& entry, const QByteArray& program);

/// Whether the entry is switched off by either of the two keys.
bool isOff(const DesktopEntry& entry);

/// Changes the entry so that this desktop does not skip it. For other desktops it stays as it is.
void showHere(DesktopEntry& entry);

} // namespace AutostartRules
} // namespace kestrum
