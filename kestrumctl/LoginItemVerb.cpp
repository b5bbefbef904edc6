// SPDX-License-Identifier: MIT
#include "KestrumShared/Agent/AgentLoginItem.h"
#include "kestrumctl/NearestNames.h"
#include "kestrumctl/Verb.h"

namespace kestrum {

namespace {

using Status = LoginItemService::Status;

QByteArray name(Status status)
{
    switch (status) {
    case Status::notRegistered:
        return "notRegistered";
    case Status::enabled:
        return "enabled";
    case Status::requiresApproval:
        return "requiresApproval";
    case Status::notFound:
        return "notFound";
    }
    return {};
}

ExitCode runLoginItem(const CommandLine& line)
{
    const QString& word = line.arguments().constFirst();
    const QStringList words { QStringLiteral("status"), QStringLiteral("on"), QStringLiteral("off") };
    if (!words.contains(word))
        return Console::wrongUse(NearestNames::unknown("request", word, words));
    if (const auto block = AgentLoginItem::block())
        return Console::failed(QString::fromUtf8(AgentLoginItem::message(*block)));

    const LoginItemService service = AgentLoginItem::service();
    if (word == words[0])
        return Console::print(name(service.status()) + '\n');
    const auto changed = word == words[1] ? service.registerItem() : service.unregister();
    if (!changed && !AgentLoginItem::isHarmless(changed.failure()))
        return Console::failed(changed.failureText());
    return ExitCode::done;
}

} // namespace

const Verb loginItemVerb {
    .name = "login-item",
    .parameters = "status|on|off",
    .summary = "start the agent at login",
    .details = R"(Tells whether the desktop starts the agent at login, or switches that on or off. States:

  notRegistered     it does not
  enabled           it does
  requiresApproval  the desktop's own settings switched it off; "on" switches it on again
  notFound          there is an entry, but this desktop does not start the agent from it

Exit code 1, with the reason, when that cannot be done here: for root, for a copy without an agent, and where
KESTRUM_NO_LOGIN_ITEM is 1.
)",
    .run = runLoginItem,
    .fewestArguments = 1,
    .mostArguments = 1,
    .needsSuite = false,
};

} // namespace kestrum
