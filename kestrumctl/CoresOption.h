// SPDX-License-Identifier: MIT
#pragma once

#include "kestrumctl/CommandLine.h"

#include <QString>

namespace kestrum {

/// "--cores N[,N…]", with which describe and render act as on another machine.
namespace CoresOption {

inline constexpr Option option { "--cores", true };

/// Makes the given core counts, fastest first, this machine's tiers. True also when the option is not given; false, with
/// the reason in `error`, when its value is no such list.
bool apply(const CommandLine& line, QString* error);

} // namespace CoresOption
} // namespace kestrum
