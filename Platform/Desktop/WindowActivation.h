// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QMap>
#include <QString>

class QWindow;

namespace kestrum {

/// Brings a window forward with the desktop's permission. No desktop lets a program push a window in front of the user's
/// work. It gives a token to the program that the user starts, and that program can hand the token to one that runs
/// already.
namespace WindowActivation {

/// Set in the environment of a program that is to open its window without taking the focus. Window managers on X11 comply; on
/// Wayland the desktop alone decides about a new window.
inline constexpr char backgroundVariable[] = "KESTRUM_IN_BACKGROUND";

/// The token that this process was started with, empty when there is none. Once the application object is made, the toolkit
/// has removed the tokens that it uses itself.
QByteArray token();
/// The same, removed from the environment, so that programs that we start do not pass for the user's choice.
QByteArray takeToken();

/// A token for a program that the user starts by a click or a key in our window at the X server's `time`, in milliseconds,
/// where the desktop made none. Empty where the display is no X server, and for 0.
QByteArray tokenOf(quint32 time);

/// The environment for a program that is started with `token`; nothing for an empty one.
QMap<QString, QString> environment(const QByteArray& token);

/// Whether this process is to open without taking the focus; removed from the environment likewise.
bool takeIsInBackground();

/// Shows `window`, raises it and gives it the focus, as far as the desktop permits. `token` may be empty.
void bringForward(QWindow& window, const QByteArray& token);

/// The server's time in `token`, which ends with "_TIME" and a number; 0 when it has none.
quint32 time(const QByteArray& token);

} // namespace WindowActivation
} // namespace kestrum
