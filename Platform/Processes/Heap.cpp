// SPDX-License-Identifier: MIT
#include "Platform/Processes/Heap.h"

#include <malloc.h>

namespace kestrum {

void Heap::giveLargeBlocksBack()
{
#ifdef __GLIBC__
    // A threshold that is set grows no more with what is freed.
    ::mallopt(M_MMAP_THRESHOLD, 1024 * 1024);
#endif
}

} // namespace kestrum
