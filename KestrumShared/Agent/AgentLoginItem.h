// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/LoginItem/LoginItemService.h"

#include <optional>

namespace kestrum {

/// The login item by which the desktop starts the agent of the main bundle.
namespace AgentLoginItem {

/// The argument that the desktop passes to the agent when it starts the agent at login.
inline constexpr char argument[] = "--login";

LoginItemService service();

enum class Block { suppressed, translocated, incomplete };

/// The reason why the login item cannot be used at present; nothing if it can be used. Each call checks the process's
/// environment and arguments, the path of the main bundle, and whether the agent's bundle exists on the disk.
std::optional<Block> block();

/// An English sentence that describes `block`. The sentence is also the key of its translation.
const char* message(Block block);

/// Whether the failure only means that the login item was already registered or already removed, as requested.
bool isHarmless(const Failure& failure);

} // namespace AgentLoginItem
} // namespace kestrum
