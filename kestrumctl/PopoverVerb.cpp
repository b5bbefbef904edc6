// SPDX-License-Identifier: MIT
#include "KestrumShared/Agent/AppLinks.h"
#include "KestrumShared/Settings/MeterSettings.h"
#include "KestrumShared/Settings/PopoverRequest.h"
#include "KestrumShared/Settings/Setting.h"
#include "Platform/Signals/NotificationCentre.h"
#include "kestrumctl/NearestNames.h"
#include "kestrumctl/SignalNames.h"
#include "kestrumctl/Verb.h"

namespace kestrum {

namespace {

ExitCode runPopover(const CommandLine& line)
{
    const QString& word = line.arguments().constFirst();
    const auto request = fromRawValue<PopoverRequest>(word);
    if (!request) {
        QStringList names;
        for (const auto& entry : allCases<PopoverRequest>())
            names.append(QLatin1StringView(entry.rawValue));
        return Console::wrongUse(NearestNames::unknown("popover", word, names));
    }
    if (AppLinks::agentProcesses().isEmpty())
        return Console::failed(QStringLiteral("no agent runs"));
    const auto section = fromRawValue<MonitorSection>(word);
    if (section && !Setting(MeterSettings::visibilityKey(*section)).value())
        return Console::failed(QStringLiteral("the item \"%1\" is not shown").arg(word));
    QString error = SignalNames::obstacle();
    if (error.isEmpty())
        error = SignalNames::sentence(NotificationCentre::post(notificationName(*request)));
    return error.isEmpty() ? ExitCode::done : Console::failed(error);
}

} // namespace

const Verb popoverVerb {
    .name = "popover",
    .parameters = "cpu|memory|storage|sensors|close",
    .summary = "open a popover of the agent",
    .details = R"(Opens the popover of the agent's item with that name, or closes the open one.
Give this command a key in the desktop's own settings for shortcuts, and the popover opens without a mouse.

Exit code 1 when no agent runs, when the item is not shown, and when there is no private runtime directory in
which programs could meet.
)",
    .run = runPopover,
    .fewestArguments = 1,
    .mostArguments = 1,
};

} // namespace kestrum
