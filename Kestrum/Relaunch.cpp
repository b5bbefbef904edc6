#include "Kestrum/Relaunch.h"

#include "Platform/Bundle/Bundle.h"
#include "Platform/Log/Log.h"
#include "Platform/Processes/ProgramStart.h"

#include <QFile>
#include <QGuiApplication>
#include <QWindow>
#include <algorithm>
#include <utility>

namespace kestrum {

namespace {

/// Closing the last window makes the application inactive too, and is its end.
bool isAnyWindowOpen()
{
    const QWindowList windows = QGuiApplication::topLevelWindows();
    return std::any_of(
        windows.begin(), windows.end(), [](const QWindow* window) { return window->isVisible(); });
}

} // namespace

Relaunch::Actions Relaunch::Actions::real()
{
    return {
        [](const QString& command) {
            // Nobody waits for it: it ends after us. Without it the application stays closed, and is there again when somebody
            // opens it: nothing that anybody could do better after reading of it.
            (void)ProgramStart::start("/bin/sh", { "-c", QFile::encodeName(command) });
        },
        [] { QCoreApplication::quit(); },
    };
}

Relaunch::Relaunch(Actions actions, QObject* parent)
    : QObject(parent)
    , m_actions(std::move(actions))
{
}

QString Relaunch::command(qint64 pid, const QString& bundlePath)
{
    return QStringLiteral("while kill -0 %1 2>/dev/null; do sleep 0.1; done; "
                          "\"%2/Contents/MacOS/kestrumctl\" open -g \"%2\"")
        .arg(QString::number(pid), bundlePath);
}

bool Relaunch::canCarry(const QString& bundlePath)
{
    // What a shell still reads between double quotes, a line end, which would make two lines of one, and what stands for bytes
    // that are no text.
    static const QString unsafe = QStringLiteral("\"$`\\\n") + QChar(QChar::ReplacementCharacter);
    return std::none_of(
        bundlePath.begin(), bundlePath.end(), [](QChar character) { return unsafe.contains(character); });
}

void Relaunch::whenInactive()
{
    if (const QString path = Bundle::main().path(); !canCarry(path)) {
        // Ending without being able to come back would serve nobody, and the window itself shows the new language already.
        Log::warnOnce("application",
            QStringLiteral(
                "%1 is not started anew in the new language: a shell would read more than a path in that")
                .arg(Log::escaped(path)));
        return;
    }
    if (m_isPending || m_isDone)
        return;
    if (QGuiApplication::applicationState() != Qt::ApplicationActive) {
        relaunch();
        return;
    }
    m_isPending = true;
    connect(qGuiApp, &QGuiApplication::applicationStateChanged, this, &Relaunch::stateChanged);
}

void Relaunch::stateChanged(Qt::ApplicationState state)
{
    if (state != Qt::ApplicationActive && isAnyWindowOpen())
        relaunch();
}

void Relaunch::relaunch()
{
    // Quitting takes a while, in which the settings and the focus may change again.
    if (std::exchange(m_isDone, true))
        return;
    m_actions.startShell(command(QCoreApplication::applicationPid(), Bundle::main().path()));
    m_actions.quit();
}

} // namespace kestrum
