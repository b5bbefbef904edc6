// SPDX-License-Identifier: MIT
#pragma once

#include <QtGlobal>

namespace kestrum {

/// What the memory is used for, in bytes. The parts `app`, `system`, `compressed`, `cache` and `free` add up to `total`.
struct MemoryParts {
    quint64 total = 0;
    quint64 app = 0;        ///< memory of programs
    quint64 system = 0;     ///< kernel, drivers and graphics
    quint64 compressed = 0; ///< memory that holds compressed pages
    quint64 cache = 0;      ///< can be given back to programs
    quint64 free = 0;
    quint64 swapTotal = 0;
    quint64 swapUsed = 0; ///< what is swapped out, before compression

    quint64 used() const { return app + system + compressed; }
    bool operator==(const MemoryParts&) const = default;
};

} // namespace kestrum
