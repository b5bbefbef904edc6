// SPDX-License-Identifier: MIT
#pragma once

/// This process's memory for objects.
namespace kestrum::Heap {

/// From now on, blocks of a MiB and more are the kernel's again as soon as they are freed. By itself the C library keeps room for
/// the largest block that was ever freed, and small blocks that come to lie in it hold all of it. Call it before threads begin.
void giveLargeBlocksBack();

} // namespace kestrum::Heap
