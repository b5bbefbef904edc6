// SPDX-License-Identifier: MIT
#pragma once

#include "kestrumctl/CommandLine.h"

namespace kestrum {

/// The option "--cores N[,N…]". With it, describe and render work as on another machine.
namespace CoresOption {

inline constexpr Option option { "--cores", true };

/// Uses the given core counts, fastest first, as this machine's tiers. Does nothing if the option is not given. Fails if its
/// value is not such a list.
Result<> apply(const CommandLine& line);

} // namespace CoresOption
} // namespace kestrum
