// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QMap>
#include <QString>

class QWindow;

namespace kestrum {

/// Brings a window to the front with the desktop's permission. No desktop allows a program to put a window in front of the
/// user's work. The desktop gives a token to the program that the user starts, and this program can pass the token to a
/// program that is already running.
namespace WindowActivation {

/// If this environment variable is set, the started program should open its window without taking the focus. Window managers
/// on X11 comply; on Wayland only the desktop decides about a new window.
inline constexpr char backgroundVariable[] = "KESTRUM_IN_BACKGROUND";

/// The token that this process was started with; empty when there is none. When the application object is created, the
/// toolkit removes the tokens that it uses itself.
QByteArray token();
/// Returns the same token and removes it from the environment. Otherwise the programs that we start would seem to be the
/// user's choice.
QByteArray takeToken();

/// A token for a program that the user starts from our window, for the case that the desktop made no token. `time` is the X
/// server's time of the click or key press, in milliseconds. The token is empty if the display is not an X server, and for
/// time 0.
QByteArray tokenOf(quint32 time);

/// The variables to add to the environment of a program that is started with `token`; none for an empty token.
QMap<QString, QString> environment(const QByteArray& token);

/// Whether this process should open its window without taking the focus. Removes `backgroundVariable` from the environment.
bool takeIsInBackground();

/// Shows `window`, raises it and gives it the focus, as far as the desktop permits. `token` may be empty.
void bringForward(QWindow& window, const QByteArray& token);

/// The X server's time in `token`, which is the number after "_TIME" at the end of the token; 0 when there is no such
/// number.
quint32 time(const QByteArray& token);

} // namespace WindowActivation
} // namespace kestrum
