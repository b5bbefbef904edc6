// SPDX-License-Identifier: MIT
// On X11 the request for the focus contains the time of the user's click or key press, which the window manager compares
// with the user's last action. The toolkit would send the time of the last event that this process received, which is too
// old if the window is not in use. So this file sends the request as a panel would; window managers treat it as the
// user's own. On Wayland the toolkit implements the protocol and reads the token from the environment.

#include "Platform/Desktop/WindowActivation.h"

#include "Platform/Desktop/X11Window.h"

#include <QGuiApplication>
#include <QWindow>

namespace kestrum {

namespace {

constexpr const char* waylandToken = "XDG_ACTIVATION_TOKEN";
constexpr const char* x11Token = "DESKTOP_STARTUP_ID";

void activateOnWayland(QWindow& window, const QByteArray& token)
{
    if (!token.isEmpty())
        qputenv(waylandToken, token);
    window.requestActivate();
    qunsetenv(waylandToken);
}

} // namespace

QByteArray WindowActivation::token()
{
    const QByteArray wayland = qgetenv(waylandToken);
    return wayland.isEmpty() ? qgetenv(x11Token) : wayland;
}

QByteArray WindowActivation::takeToken()
{
    const QByteArray taken = token();
    qunsetenv(waylandToken);
    qunsetenv(x11Token);
    return taken;
}

void WindowActivation::giveToken(const QByteArray& token)
{
    if (!token.isEmpty())
        qputenv(waylandToken, token);
}

QByteArray WindowActivation::tokenOf(quint32 time)
{
    if (time == 0 || QGuiApplication::platformName() != QLatin1StringView("xcb"))
        return {};
    // Only the time in this token matters, because no start-up notification is sent.
    return "kestrum-" + QByteArray::number(QCoreApplication::applicationPid()) + "_TIME"
        + QByteArray::number(time);
}

QMap<QString, QString> WindowActivation::environment(const QByteArray& token)
{
    if (token.isEmpty())
        return {};
    const bool isX11 = QGuiApplication::platformName() == QLatin1StringView("xcb");
    return { { QLatin1StringView(isX11 ? x11Token : waylandToken), QString::fromLatin1(token) } };
}

bool WindowActivation::takeIsInBackground()
{
    const bool isIn = !qgetenv(backgroundVariable).isEmpty();
    qunsetenv(backgroundVariable);
    return isIn;
}

quint32 WindowActivation::time(const QByteArray& token)
{
    constexpr QByteArrayView mark("_TIME");
    const qsizetype at = token.lastIndexOf(mark);
    return at < 0 ? 0 : token.mid(at + mark.size()).toUInt();
}

void WindowActivation::bringForward(QWindow& window, const QByteArray& token)
{
    window.setWindowStates(window.windowStates() & ~Qt::WindowMinimized);
    window.setVisible(true);
    window.raise();
    const auto ours = X11Window::of(window);
    if (!ours) {
        activateOnWayland(window, token);
        return;
    }
    if (ours->isManaged())
        ours->askForFocus(time(token));
    else
        window.requestActivate();
    if (!token.isEmpty())
        ours->tellThatStartEnded(token);
    ours->flush();
}

} // namespace kestrum
