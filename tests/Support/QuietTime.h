// SPDX-License-Identifier: MIT
#pragma once

namespace kestrum {

/// In milliseconds, for what must not come, as nothing marks the end of waiting for it: long enough for what is under way to arrive.
constexpr int quietTime = 60;

} // namespace kestrum
