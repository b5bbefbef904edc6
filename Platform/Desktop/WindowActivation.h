// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QMap>
#include <QString>

class QWindow;

namespace kestrum {

/// Brings a window to the front. Desktops let a program put a window in front of the user's work only with a permission,
/// the activation token. The desktop gives a token to the program that the user starts. This program can pass the token
/// to a program that is already running.
namespace WindowActivation {

/// If this environment variable is set, the started program should open its window without taking the focus. This works
/// on X11. On Wayland the desktop alone decides whether a new window gets the focus.
inline constexpr char backgroundVariable[] = "KESTRUM_IN_BACKGROUND";

/// The token that this process was started with; empty if there is none. Creating the application object removes the
/// tokens that the toolkit uses itself.
QByteArray token();
/// Returns the same token and removes it from the environment. If the token stayed there, the programs that this process
/// starts would seem to be started by the user.
QByteArray takeToken();

/// Puts `token` where `takeToken` finds it: the desktop gave it to another program, which hands it on. Nothing for an empty one.
void giveToken(const QByteArray& token);

/// Makes a token for a program that the user starts from a window of this process, if the desktop made no token. `time`
/// is the X server's time of the click or key press, in milliseconds. The token is empty for time 0 and without X.
QByteArray tokenOf(quint32 time);

/// The variables to add to the environment of a program that is started with `token`; none for an empty token.
QMap<QString, QString> environment(const QByteArray& token);

/// Whether this process should open its window without taking the focus. Removes `backgroundVariable` from the environment.
bool takeIsInBackground();

/// Shows `window`, raises it and gives it the focus, as far as the desktop permits. `token` may be empty.
void bringForward(QWindow& window, const QByteArray& token);

/// The X server's time in `token`: the number after the last "_TIME", in milliseconds; 0 if there is no such number.
quint32 time(const QByteArray& token);

} // namespace WindowActivation
} // namespace kestrum
