#pragma once

#include "Platform/Machine/KernelFile.h"

namespace kestrum {

/// Memory and swap in use, from "/proc/meminfo".
class MemoryUse {
public:
    explicit MemoryUse(const QString& root = {});

    /// Reads anew; what cannot be read leaves the values as they are.
    void sample();

    /// The share of the memory that could not be given to a program without taking it from another, 0…1.
    double used() const { return m_used; }
    quint64 swapUsed() const { return m_swapUsed; } ///< bytes

private:
    KernelFile m_file;
    double m_used = 0;
    quint64 m_swapUsed = 0;
};

} // namespace kestrum
