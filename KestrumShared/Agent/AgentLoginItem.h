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

/// Why the login item cannot be used.
enum class Block { suppressed, translocated, incomplete };

/// Why the login item cannot be used at present; nothing if it can. Each call checks the process's environment and
/// arguments, the path of the main bundle, and whether the agent's bundle exists on the disk.
std::optional<Block> block();

/// The reason as an English sentence for display, which is the key of its translation.
const char* message(Block block);

/// Whether the requested state is reached in spite of the failure: the item was removed or registered already.
bool isHarmless(const Failure& failure);

} // namespace AgentLoginItem
} // namespace kestrum
