// SPDX-License-Identifier: MIT
#pragma once

#include "kestrumctl/CommandLine.h"

namespace kestrum {

/// "--cores N[,N…]", with which describe and render act as on another machine.
namespace CoresOption {

inline constexpr Option option { "--cores", true };

/// Makes the given core counts, fastest first, this machine's tiers. Fails when the option's value is no such list.
Result<> apply(const CommandLine& line);

} // namespace CoresOption
} // namespace kestrum
