// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Files/FileDescriptor.h"

#include <QByteArray>
#include <QString>
#include <optional>
#include <string_view>
#include <vector>

namespace kestrum {

/// A file in "/proc" or "/sys". The file stays open, so that a repeated read costs two short system calls. After a failure, some
/// calls of `read` return nothing without an attempt. The number of these calls doubles with each failure, up to
/// `longestPause`. Then the file is opened again, because devices appear and permissions change.
class KernelFile {
public:
    static constexpr int longestPause = 32;
    /// Larger than any file that is read this way.
    static constexpr std::size_t maximumBytes = std::size_t(1) << 20;

    explicit KernelFile(const QString& path);
    /// A file that always says `content`, of another machine.
    static KernelFile saying(std::string_view content);

    /// The content up to `maximumBytes`, valid until the next read; nothing when the file cannot be read.
    std::optional<std::string_view> read();

    /// The content without leading and trailing blanks, valid until the next read; empty if the file cannot be read.
    std::string_view readWord();

    /// The content as one whole number, which may be negative. Nothing if the content is anything else or cannot be read.
    std::optional<qint64> readNumber();

    /// Whether the kernel has told of a change since the last call, or since the file was opened. Few files tell: among
    /// them are "/proc/self/mountinfo" and "/proc/mdstat". True while the file is not open. Ask before reading, so that a
    /// change in between is told the next time.
    bool hasChanged() const;

    /// Whether the file exists, but this process had no permission to open it at the last attempt.
    bool isDenied() const { return m_isDenied; }

private:
    std::optional<std::string_view> readOpened();

    QByteArray m_path;
    FileDescriptor m_descriptor;
    std::vector<char> m_buffer;
    int m_pause = 0;    ///< number of reads skipped after the last failure; 0 after a success
    int m_passOver = 0; ///< number of reads that are still to be skipped
    bool m_isDenied = false;
    bool m_isFixed = false; ///< the buffer is the content
};

} // namespace kestrum
