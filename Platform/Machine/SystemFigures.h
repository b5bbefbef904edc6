// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Machine/KernelFile.h"

#include <array>
#include <chrono>
#include <optional>

namespace kestrum {

/// How many tasks run or wait for a processor or a disk, from "/proc/loadavg".
class LoadAverage {
public:
    explicit LoadAverage(const QString& root = {});

    /// The means of the last 1, 5 and 15 minutes; nothing if the kernel reports none.
    std::optional<std::array<double, 3>> read();

private:
    KernelFile m_file;
};

/// The time since the machine was started, from "/proc/uptime". In a container it is the container's.
class Uptime {
public:
    explicit Uptime(const QString& root = {});

    /// Nothing if the kernel does not report it.
    std::optional<std::chrono::seconds> read();

private:
    KernelFile m_file;
};

} // namespace kestrum
