// SPDX-License-Identifier: MIT
#pragma once

namespace kestrum {

/// What targets may see of the machine: folders of their own instead of the user's, no session bus and no display.
namespace FuzzHome {

/// Sets the environment. Must be called before any target runs, and before there is an application object.
void prepare();

} // namespace FuzzHome
} // namespace kestrum
