// SPDX-License-Identifier: MIT
#pragma once

namespace kestrum {

/// In ms: how long a test waits to check that something does not happen. By then, anything under way has arrived.
constexpr int quietTime = 60;

} // namespace kestrum
