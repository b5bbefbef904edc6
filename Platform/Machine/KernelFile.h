// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Files/FileDescriptor.h"

#include <QByteArray>
#include <QString>
#include <optional>
#include <string_view>
#include <vector>

namespace kestrum {

/// A file of "/proc" or "/sys" that stays open and is read from its beginning each time: that costs one system call. After
/// a failure it is tried again after pauses that grow up to `longestPause` reads, as devices come and rights change.
class KernelFile {
public:
    static constexpr int longestPause = 32;
    /// Larger than any file that is read this way.
    static constexpr std::size_t maximumBytes = std::size_t(1) << 20;

    explicit KernelFile(const QString& path);

    /// The content up to `maximumBytes`, valid until the next read; nothing when it cannot be read.
    std::optional<std::string_view> read();

    /// The content as one whole number, with or without a sign; nothing when it is anything else.
    std::optional<qint64> readNumber();

private:
    std::optional<std::string_view> readOpened();

    QByteArray m_path;
    FileDescriptor m_descriptor;
    std::vector<char> m_buffer;
    int m_pause = 0;    ///< reads to skip after the next failure
    int m_passOver = 0; ///< reads still to skip
};

} // namespace kestrum
