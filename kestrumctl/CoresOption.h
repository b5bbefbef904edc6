// SPDX-License-Identifier: MIT
#pragma once

#include "kestrumctl/CommandLine.h"

#include <QString>

namespace kestrum {

/// "--cores N[,N…]", by which describe and render act as on another machine.
namespace CoresOption {

inline constexpr Option option { "--cores", true };

/// Makes the core counts that are given, fastest first, this machine's tiers. False, with the reason in
/// `error`, when they are no such list; true also when the option is not given.
bool apply(const CommandLine& line, QString* error);

} // namespace CoresOption
} // namespace kestrum
