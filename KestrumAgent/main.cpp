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

/// The exit code of a call that has been answered. Arguments with one dash are the toolkit's.
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
    // Whoever quit the agent wants it to stay away, also from the next session. Needs no display.
    if (isLogin && !Setting(Keys::agentEnabled).value()) {
        Log::info(
            "agent", QStringLiteral("the agent ends: it is switched off, and only the login started it"));
        return 0;
    }
    // Before the application object, whose threads would otherwise take the signals in their own way.
    StopRequest::holdBack();
    // Lets a widget be a Wayland surface that we give its role ourselves.
    qputenv("QT_WAYLAND_USE_BYPASSWINDOWMANAGERHINT", "1");

    // Pictures go to an X server by the connection: with shared memory each tick would wait for the server, which wakes
    // this process twice more. Nobody whom we start is to inherit it.
    qputenv("QT_XCB_NO_MITSHM", "1");

    std::optional<ToolkitStart> start(std::in_place);
    QApplication application(argc, argv);
    start.reset();
    qunsetenv("QT_XCB_NO_MITSHM");
    // Who started us, and when, is nothing that a settings application started from here later may pass for. The toolkit has
    // taken by now what it needs of it.
    WindowActivation::takeToken();
    QApplication::setApplicationName(AppLinks::agentIdentifier());
    QApplication::setApplicationDisplayName(QStringLiteral("Kestrum"));
    QApplication::setApplicationVersion(QStringLiteral(KESTRUM_VERSION));
    QApplication::setDesktopFileName(applicationIdentifier);
    QApplication::setQuitOnLastWindowClosed(false);
    // Nor may a lock of the toolkit's: desktops' themes hold one while a status icon is shown, and release it with the last item.
    QApplication::setQuitLockEnabled(false);
    // Qt's own style, which paints from the palette alone, as in the settings application.
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
