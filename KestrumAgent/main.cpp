// SPDX-License-Identifier: MIT
#include "KestrumAgent/Agent.h"
#include "KestrumShared/Agent/AgentLoginItem.h"
#include "KestrumShared/Agent/AppLinks.h"
#include "KestrumShared/Settings/Setting.h"
#include "Platform/Desktop/ToolkitStart.h"
#include "Platform/Desktop/WindowActivation.h"
#include "Platform/Log/Identifier.h"
#include "Platform/Log/Log.h"
#include "Platform/Processes/Heap.h"
#include "Platform/Processes/ProcessEnds.h"
#include "Platform/Processes/ProcessTable.h"
#include "Platform/Processes/ProgramStart.h"
#include "Platform/Processes/ProgramWatch.h"
#include "Platform/Processes/SingleInstance.h"
#include "Platform/Processes/StopRequest.h"

#include <QApplication>
#include <QByteArrayView>
#include <cstdio>
#include <optional>
#include <utility>

namespace {

constexpr char usage[]
    = "Usage: KestrumAgent [OPTION]\n"
      "Shows the items of the Kestrum system monitor at the panel.\n"
      "\n"
      "  --help     print this and exit\n"
      "  --version  print the version and exit\n"
      "  --login    the desktop starts it at login: where the agent is switched off, it ends at once\n";

/// Handles the command line. Returns the exit code if the program should end at once; nothing if the agent should start.
/// QCommandLineParser cannot be used: it accepts one dash and two alike, but arguments with one dash are options of Qt.
std::optional<int> answer(int argc, char** argv, bool& isLogin)
{
    for (int i = 1; i < argc; ++i) {
        const QByteArrayView argument(argv[i]);
        if (argument == "--help") {
            std::fputs(usage, stdout);
            return 0;
        }
        if (argument == "--version") {
            std::puts("KestrumAgent " KESTRUM_VERSION);
            return 0;
        }
        if (argument == kestrum::AgentLoginItem::argument) {
            isLogin = true;
        } else if (argument.startsWith("--")) {
            std::fprintf(stderr, "KestrumAgent: what does %s mean?\n%s", argv[i], usage);
            return 2;
        }
    }
    return std::nullopt;
}

/// The program that goes on in place of this one.
struct Replacement {
    QString path;     ///< empty: none does
    double since = 0; ///< its requests begin then, in seconds since 1970
    bool isEnabled = false;
};

/// Runs the agent to its end. `replacement` says what to run afterwards.
int run(int argc, char** argv, bool isLogin, Replacement& replacement)
{
    using namespace kestrum;
    // Requests of before were obeyed by the program that ran in this process before, and its children are this one's.
    const auto began = ProgramWatch::takeBegin();
    const auto self = qint32(QCoreApplication::applicationPid());
    const QList<qint32> children = began ? ProcessTable().children(self) : QList<qint32>();
    // The agent stays off at login if the user has switched it off. This check needs no display, so it is done first.
    if (isLogin && !Setting(Keys::agentEnabled).value()) {
        Log::info("agent", QStringLiteral("the agent ends: it is switched off, and no user started it"));
        return 0;
    }
    // Blocks the signals before the application object creates threads: new threads inherit the blocked signals.
    StopRequest::block();
    // With this variable, Qt allows a Wayland surface without a role. `LayerSurface` needs such a surface.
    ProgramStart::setOwnVariable("QT_WAYLAND_USE_BYPASSWINDOWMANAGERHINT", "1");

    // With this variable, Qt sends pictures to an X server over the connection. With shared memory, this process would wait
    // for the server and wake twice more at each sample. Programs that the agent starts must not inherit the variable.
    qputenv("QT_XCB_NO_MITSHM", "1");

    std::optional<ToolkitStart> start(std::in_place);
    QApplication application(argc, argv);
    start.reset();
    qunsetenv("QT_XCB_NO_MITSHM");
    // Removes the activation token of the agent's start from the environment: a settings application that the agent starts
    // later must not use it. Qt has read the token already.
    WindowActivation::takeToken();
    QApplication::setApplicationName(AppLinks::agentIdentifier());
    QApplication::setApplicationDisplayName(QStringLiteral("Kestrum"));
    QApplication::setApplicationVersion(QStringLiteral(KESTRUM_VERSION));
    QApplication::setDesktopFileName(applicationIdentifier);
    QApplication::setQuitOnLastWindowClosed(false);
    // By default, Qt also quits when the last quit lock is released, and some desktop themes hold such a lock while a status
    // icon is shown.
    QApplication::setQuitLockEnabled(false);
    // Qt's own style uses only the palette. The settings application has the same style.
    QApplication::setStyle(QStringLiteral("fusion"));

    const StopRequest stop;
    const SingleInstance instance(AppLinks::agentInstanceName);
    if (!instance.isFirst()) {
        Log::info("agent", QStringLiteral("another agent runs already"));
        return 0;
    }
    Agent agent;
    QObject::connect(&stop, &StopRequest::requested, &agent,
        [&agent] { agent.leave(QStringLiteral("a signal of the system terminates or interrupts it")); });
    // If nobody waited for the children, they would never quite end: a settings window that starts itself anew waits for that.
    ProcessEnds inherited;
    for (const qint32 child : children)
        inherited.follow(child, ProcessEnds::Kind::child);
    const ProgramWatch program;
    QObject::connect(&program, &ProgramWatch::replaced, &agent, [&] {
        replacement.isEnabled = Setting(Keys::agentEnabled).value();
        agent.makeWay(QStringLiteral("another version of its program was installed, which goes on"));
    });
    QObject::connect(&program, &ProgramWatch::removed, &agent,
        [&agent] { agent.leave(QStringLiteral("its program was removed")); });
    agent.start(began ? began : ProcessTable().startTime(self));
    const int code = QApplication::exec();
    if (const auto since = agent.madeWaySince()) {
        replacement.path = program.path();
        replacement.since = *since;
    }
    return code;
}

} // namespace

int main(int argc, char** argv)
{
    using namespace kestrum;
    bool isLogin = false;
    if (const auto answered = answer(argc, argv, isLogin))
        return *answered;

    // Popovers are large pictures, which come and go for as long as the session lasts.
    Heap::giveLargeBlocksBack();
    Log::install();
    QByteArrayList arguments(argv, argv + argc); // the toolkit takes its own out
    Replacement replacement;
    const int code = run(argc, argv, isLogin, replacement);
    if (replacement.path.isEmpty())
        return code;
    // Everything of this program has ended. If the agent is switched off from now on, the next one finds that out.
    if (replacement.isEnabled && !isLogin)
        arguments.append(AgentLoginItem::argument);
    Log::error("agent", ProgramWatch::runInstead(replacement.path, arguments, replacement.since).text());
    return 1;
}
