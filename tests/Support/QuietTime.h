// SPDX-License-Identifier: MIT
#pragma once

namespace kestrum {

/// In ms: how long a test waits to check that nothing happens. Anything that is under way arrives within this time.
constexpr int quietTime = 60;

} // namespace kestrum
