// SPDX-License-Identifier: MIT
#include "KestrumShared/Agent/AgentLoginItem.h"

#include "KestrumShared/Agent/AppLinks.h"
#include "KestrumShared/Agent/LoginItemPolicy.h"

#include <QFileInfo>

namespace kestrum {

LoginItemService AgentLoginItem::service()
{
    return { AppLinks::agentIdentifier(), AppLinks::embeddedAgentProgram(), QStringLiteral("Kestrum"),
        argument };
}

std::optional<AgentLoginItem::Block> AgentLoginItem::block()
{
    if (LoginItemPolicy::isSuppressedHere())
        return Block::suppressed;
    if (LoginItemPolicy::isTranslocated(Bundle::main().path()))
        return Block::translocated;
    if (!QFileInfo::exists(AppLinks::embeddedAgentURL()))
        return Block::incomplete;
    return std::nullopt;
}

const char* AgentLoginItem::message(Block block)
{
    switch (block) {
    case Block::suppressed:
        return "Login items are disabled in this build.";
    case Block::translocated:
        return "Move Kestrum to your Applications folder first.";
    case Block::incomplete:
        return "This copy of Kestrum is incomplete.";
    }
    return "";
}

bool AgentLoginItem::isHarmless(const Failure& failure)
{
    return failure.error == LoginItemService::nothingThere || failure.error == LoginItemService::alreadyThere;
}

} // namespace kestrum
