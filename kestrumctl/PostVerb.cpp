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
    "post",
    "SIGNAL",
    "post a signal",
    "Tells every program that listens to SIGNAL. Signals:\n"
    "\n"
    "  settings         the settings changed\n"
    "  quitAgent        the agent is to quit\n"
    "  openSettings     the settings window is to come forward\n"
    "  checkForUpdates  the agent is to look for updates\n"
    "  updateAvailable  the agent found an update\n"
    "  menuBarChanged   the agent changed the order of the items\n"
    "\n"
    "Exit code 1 when there is no private runtime directory in which programs could meet, and when the "
    "signal\n"
    "cannot be left there.\n",
    {},
    1,
    1,
    false,
    false,
    runPost,
};

} // namespace kestrum
