// SPDX-License-Identifier: MIT
#include "Platform/Signals/NotificationCentre.h"
#include "kestrumctl/SignalNames.h"
#include "kestrumctl/Verb.h"

namespace kestrum {

namespace {

ExitCode runPost(const CommandLine& line)
{
    const auto posted = SignalNames::parsed(line.arguments());
    if (!posted)
        return Console::wrongUse(posted.failureText());
    QString error = SignalNames::obstacle();
    if (error.isEmpty())
        error = SignalNames::sentence(NotificationCentre::post(SharedSettings::name(posted->first())));
    return error.isEmpty() ? ExitCode::done : Console::failed(error);
}

} // namespace

const Verb postVerb {
    .name = "post",
    .parameters = "SIGNAL",
    .summary = "post a signal",
    .details = R"(Tells every program that listens to SIGNAL. Signals:

  settings         the settings changed
  quitAgent        the agent is to quit
  openSettings     the settings window is to come forward
  checkForUpdates  the agent is to look for updates
  updateAvailable  the agent found an update
  menuBarChanged   the agent changed the order of the items

Exit code 1 when there is no private runtime directory in which programs could meet, and when the signal
cannot be left there.
)",
    .run = runPost,
    .fewestArguments = 1,
    .mostArguments = 1,
};

} // namespace kestrum
