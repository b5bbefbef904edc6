// SPDX-License-Identifier: MIT
#include "Kestrum/Relaunch.h"

#include "Platform/Bundle/Bundle.h"
#include "Platform/Desktop/X11Window.h"
#include "Platform/Log/Log.h"
#include "Platform/Processes/ProgramStart.h"

#include <QFile>
#include <QGuiApplication>
#include <QWindow>
#include <algorithm>
#include <chrono>
#include <optional>
#include <utility>

namespace kestrum {

namespace {

// No event says that the focus went to another window while the keyboard was grabbed.
constexpr std::chrono::milliseconds lookInterval { 500 };

/// An open window; null if there is none.
const QWindow* openWindow()
{
    const QWindowList windows = QGuiApplication::topLevelWindows();
    const auto found = std::find_if(
        windows.begin(), windows.end(), [](const QWindow* window) { return window->isVisible(); });
    return found == windows.end() ? nullptr : *found;
}

bool isActive()
{
    if (QGuiApplication::applicationState() == Qt::ApplicationActive)
        return true;
    const QWindow* window = openWindow();
    const auto x11 = window ? X11Window::of(*window) : std::nullopt;
    return x11 && x11->isOwnFocused();
}

} // namespace

Relaunch::Actions Relaunch::Actions::real()
{
    return {
        [](const QString& command) {
            // Do not wait for the shell, which ends after this process. Do not report a failure either: the application then
            // stays closed until the user opens it, and a message would not help.
            (void)ProgramStart::start("/bin/sh", { "-c", QFile::encodeName(command) });
        },
        [] { QCoreApplication::quit(); },
    };
}

Relaunch::Relaunch(Actions actions, QObject* parent)
    : QObject(parent)
    , m_actions(std::move(actions))
{
    m_nextLook.setInterval(lookInterval);
    connect(&m_nextLook, &QTimer::timeout, this, &Relaunch::judgeState);
}

QString Relaunch::command(qint64 pid, const QString& bundlePath)
{
    return QStringLiteral("while kill -0 %1 2>/dev/null; do sleep 0.1; done; "
                          "\"%2/Contents/MacOS/kestrumctl\" open -g \"%2\"")
        .arg(QString::number(pid), bundlePath);
}

bool Relaunch::canCarry(const QString& bundlePath)
{
    // Characters with a special meaning between double quotes, the line end, and the replacement for bytes that are not UTF-8.
    static const QString unsafe = QStringLiteral("\"$`\\\n") + QChar(QChar::ReplacementCharacter);
    return std::none_of(
        bundlePath.begin(), bundlePath.end(), [](QChar character) { return unsafe.contains(character); });
}

void Relaunch::whenInactive()
{
    if (const QString path = Bundle::main().path(); !canCarry(path)) {
        // Do not relaunch, because the application would stay closed. The window already shows the new language.
        Log::warnOnce("application",
            QStringLiteral(
                "%1 is not started anew in the new language: a shell would read more than a path in that")
                .arg(Log::escaped(path)));
        return;
    }
    if (m_isPending || m_isDone)
        return;
    if (!isActive()) {
        relaunch();
        return;
    }
    m_isPending = true;
    connect(qGuiApp, &QGuiApplication::applicationStateChanged, this, &Relaunch::judgeState);
    judgeState();
}

void Relaunch::judgeState()
{
    m_nextLook.stop();
    // Closing the last window makes the application inactive too, but must not cause a relaunch.
    if (QGuiApplication::applicationState() == Qt::ApplicationActive || !openWindow())
        return;
    if (isActive())
        m_nextLook.start();
    else
        relaunch();
}

void Relaunch::relaunch()
{
    // Relaunch only once: while the application quits, the settings and the focus may change again.
    if (std::exchange(m_isDone, true))
        return;
    m_actions.startShell(command(QCoreApplication::applicationPid(), Bundle::main().path()));
    m_actions.quit();
}

} // namespace kestrum
