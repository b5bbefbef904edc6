// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Machine/KernelFile.h"

#include <optional>
#include <string_view>

namespace kestrum {

/// The share of time in which tasks waited for a resource, from "/proc/pressure".
class Pressure {
public:
    enum class Resource { memory, io };

    explicit Pressure(Resource resource, const QString& root = {});

    /// The share of the last ten seconds in which some task waited for the resource, 0…1; nothing if the kernel reports none.
    std::optional<double> read();

    /// The same from the content of a file in "/proc/pressure"; nothing for any other text.
    static std::optional<double> shareIn(std::string_view content);

private:
    KernelFile m_file;
};

} // namespace kestrum
