// SPDX-License-Identifier: MIT
#pragma once

#include "kestrumctl/CommandLine.h"

namespace kestrum {

/// The option "--cores N[,N…]". With this option, the verbs describe and render work as on another machine.
namespace CoresOption {

inline constexpr Option option { "--cores", true };

/// Replaces this machine's tiers by the core counts in the option, fastest first. Does nothing if the option is not given.
/// Fails if the option's value is not a list of core counts.
Result<> apply(const CommandLine& line);

} // namespace CoresOption
} // namespace kestrum
