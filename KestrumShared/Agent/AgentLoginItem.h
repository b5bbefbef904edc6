// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/LoginItem/LoginItemService.h"

#include <optional>

namespace kestrum {

/// The login item by which the desktop starts the agent of the main bundle.
namespace AgentLoginItem {

/// Tells the agent that the desktop started it at login, and not a person.
inline constexpr char argument[] = "--login";

LoginItemService service();

/// Why the login item cannot be used.
enum class Block { suppressed, translocated, incomplete };

/// Checked at each call, by the process's environment and arguments and by the disk.
std::optional<Block> block();

/// The sentence for people; to be translated.
const char* message(Block block);

/// Whether the result is the requested one all the same: nothing had to be removed, or the item was there already.
bool isHarmless(const Failure& failure);

} // namespace AgentLoginItem
} // namespace kestrum
