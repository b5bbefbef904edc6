// SPDX-License-Identifier: MIT
#include "KestrumAgent/Agent.h"
#include "KestrumShared/Agent/AgentLoginItem.h"
#include "KestrumShared/Agent/AppLinks.h"
#include "KestrumShared/Settings/Setting.h"
#include "Platform/Desktop/ToolkitStart.h"
#include "Platform/Desktop/WindowActivation.h"
#include "Platform/Log/Identifier.h"
#include "Platform/Log/Log.h"
#include "Platform/Processes/ProcessTable.h"
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

/// Reads the options; gives the exit code of a call that is answered already. Arguments with one dash belong to the
/// toolkit. QCommandLineParser cannot tell one dash from two.
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

} // namespace

int main(int argc, char** argv)
{
    using namespace kestrum;
    bool isLogin = false;
    if (const auto answered = answer(argc, argv, isLogin))
        return *answered;

    Log::install();
    // A user who quit the agent wants it to stay away, also in the next session. Needs no display.
    if (isLogin && !Setting(Keys::agentEnabled).value()) {
        Log::info(
            "agent", QStringLiteral("the agent ends: it is switched off, and only the login started it"));
        return 0;
    }
    // Before the application object, whose threads would otherwise take the signals by their default action.
    StopRequest::block();
    // Allows a widget to be a Wayland surface whose role we set ourselves.
    qputenv("QT_WAYLAND_USE_BYPASSWINDOWMANAGERHINT", "1");

    // Sends pictures to an X server over the connection: with shared memory each tick would wait for the server, which
    // wakes this process twice more. Removed below, so that programs that we start do not inherit it.
    qputenv("QT_XCB_NO_MITSHM", "1");

    std::optional<ToolkitStart> start(std::in_place);
    QApplication application(argc, argv);
    start.reset();
    qunsetenv("QT_XCB_NO_MITSHM");
    // A settings application that is started from here later must not pass for the user's start of the agent. The toolkit
    // has read the token by now.
    WindowActivation::takeToken();
    QApplication::setApplicationName(AppLinks::agentIdentifier());
    QApplication::setApplicationDisplayName(QStringLiteral("Kestrum"));
    QApplication::setApplicationVersion(QStringLiteral(KESTRUM_VERSION));
    QApplication::setDesktopFileName(applicationIdentifier);
    QApplication::setQuitOnLastWindowClosed(false);
    // Nor when the toolkit's quit lock is released: desktops' themes hold one while a status icon is shown.
    QApplication::setQuitLockEnabled(false);
    // Qt's own style, which uses only the palette, as in the settings application.
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
    agent.start(ProcessTable().startTime(qint32(QCoreApplication::applicationPid())));
    return QApplication::exec();
}
