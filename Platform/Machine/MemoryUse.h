// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Machine/KernelFile.h"

namespace kestrum {

/// Memory and swap in use, from "/proc/meminfo".
class MemoryUse {
public:
    explicit MemoryUse(const QString& root = {});

    /// Reads the values again. A value that cannot be read does not change.
    void sample();

    /// The share of memory that is not available to a new program, 0…1.
    double used() const { return m_used; }
    quint64 swapUsed() const { return m_swapUsed; } ///< bytes

private:
    KernelFile m_file;
    double m_used = 0;
    quint64 m_swapUsed = 0;
};

} // namespace kestrum
