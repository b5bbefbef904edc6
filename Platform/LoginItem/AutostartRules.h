// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/LoginItem/DesktopEntry.h"

namespace kestrum {

/// How desktops read an autostart entry. This desktop is the desktop in "XDG_CURRENT_DESKTOP". If the variable is not set,
/// entries for particular desktops count as entries for this desktop. Any thread.
namespace AutostartRules {

// The keys that desktops read, besides "OnlyShowIn" and "NotShowIn".
inline constexpr char typeKey[] = "Type";
inline constexpr char commandKey[] = "Exec";
inline constexpr char programKey[] = "TryExec";
inline constexpr char hiddenKey[] = "Hidden";
inline constexpr char gnomeKey[] = "X-GNOME-Autostart-enabled";

/// Whether `path` can be run: an absolute path, or a name that is looked up in "PATH".
bool isProgram(const QByteArray& path);

/// Whether this desktop would start `program` from the entry if the entry is not switched off. The same program in another
/// copy of its bundle counts too, and so does a start through a link or a shell.
bool starts(const DesktopEntry& entry, const QByteArray& program);

/// Whether the entry is switched off by "Hidden" or by GNOME's key.
bool isOff(const DesktopEntry& entry);

/// Changes the entry so that this desktop does not skip it. Other desktops treat the entry as before.
void showHere(DesktopEntry& entry);

} // namespace AutostartRules
} // namespace kestrum
