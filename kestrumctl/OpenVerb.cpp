// SPDX-License-Identifier: MIT
#include "Platform/Desktop/WindowActivation.h"
#include "Platform/Processes/Workspace.h"
#include "kestrumctl/Verb.h"

#include <QCoreApplication>
#include <QFileInfo>

namespace kestrum {

namespace {

constexpr Option openOptions[] = { { "-g" } };

ExitCode runOpen(const CommandLine& line)
{
    Workspace::OpenConfiguration configuration;
    configuration.activates = !line.has("-g");
    // Starts a second process if the application runs already. The second process brings the first one's window forward.
    configuration.createsNewApplicationInstance = configuration.activates;
    if (!configuration.activates)
        configuration.environment.insert(
            QLatin1StringView(WindowActivation::backgroundVariable), QStringLiteral("1"));

    ExitCode code = ExitCode::done;
    // The application starts in another directory, so the path must be absolute.
    const QString bundle = QFileInfo(line.arguments().first()).absoluteFilePath();
    Workspace::shared().openApplication(bundle, configuration, [&code](const Workspace::Opened& opened) {
        if (!opened.pid)
            code = Console::failed(opened.error);
        QCoreApplication::quit();
    });
    QCoreApplication::exec();
    return code;
}

} // namespace

const Verb openVerb {
    .name = "open",
    .parameters = "[-g] BUNDLE",
    .summary = "start the application of a bundle",
    .details
    = R"(Starts the application of the bundle at the path BUNDLE, such as Kestrum.app, apart from this shell.

  -g  in the background: its window does not take the focus, and an application that runs already is
      left alone
)",
    .run = runOpen,
    .options = openOptions,
    .fewestArguments = 1,
    .mostArguments = 1,
    .needsSuite = false,
};

} // namespace kestrum
