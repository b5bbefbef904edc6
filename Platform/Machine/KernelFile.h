// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Files/FileDescriptor.h"

#include <QByteArray>
#include <QString>
#include <optional>
#include <string_view>
#include <vector>

namespace kestrum {

/// A file of "/proc" or "/sys". The file stays open, and each read starts at the beginning of the file, which costs one
/// system call. After a failure, the next calls of `read` return nothing without trying; their number grows with each
/// failure, up to `longestPause`. Then the file is opened again, because devices appear and permissions change.
class KernelFile {
public:
    static constexpr int longestPause = 32;
    /// Larger than any file that is read this way.
    static constexpr std::size_t maximumBytes = std::size_t(1) << 20;

    explicit KernelFile(const QString& path);

    /// The content up to `maximumBytes`, valid until the next read; nothing when the file cannot be read.
    std::optional<std::string_view> read();

    /// The content without the blanks around it, valid until the next read; empty when the file cannot be read.
    std::string_view readWord();

    /// The content as one whole number, which may have a minus sign. Nothing when the content is anything else or
    /// cannot be read.
    std::optional<qint64> readNumber();

private:
    std::optional<std::string_view> readOpened();

    QByteArray m_path;
    FileDescriptor m_descriptor;
    std::vector<char> m_buffer;
    int m_pause = 0;    ///< reads skipped after the last failure; 0 without one
    int m_passOver = 0; ///< reads still to skip
};

} // namespace kestrum
