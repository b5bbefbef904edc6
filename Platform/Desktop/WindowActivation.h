#pragma once

#include <QByteArray>
#include <QMap>
#include <QString>

class QWindow;

namespace kestrum {

/// Bringing a window forward with the desktop's leave. A desktop lets nobody push a window in front of what people work
/// in; it gives the program that they start a token for that, which a program that runs already can be handed.
namespace WindowActivation {

/// Set in the environment of a program that is to open its window without taking the focus.
inline constexpr char backgroundVariable[] = "KESTRUM_IN_BACKGROUND";

/// The token that this process was started with, empty when there is none. After the application object is made, what the
/// toolkit has used itself is no longer there.
QByteArray token();
/// The same, taken out of the environment, so that programs that we start do not pass for what people started.
QByteArray takeToken();

/// A token for a program that somebody asks us for by a click or a key at the X server's `time`, in milliseconds, where no desktop
/// has made one. Empty where the display is no X server, and for 0.
QByteArray tokenOf(quint32 time);

/// What a program that is started with `token` is to find in its environment; nothing for an empty one.
QMap<QString, QString> environment(const QByteArray& token);

/// Whether this process is to open without taking the focus; taken out of the environment likewise.
bool takeIsInBackground();

/// Shows `window`, puts it in front and gives it the focus, as far as the desktop lets us. `token` may be empty.
void bringForward(QWindow& window, const QByteArray& token);

/// The server's time that `token` was made at, 0 when it does not say: it ends with "_TIME" and a number.
quint32 time(const QByteArray& token);

} // namespace WindowActivation
} // namespace kestrum
