#pragma once

#include "Platform/Files/FileDescriptor.h"

#include <QByteArray>
#include <QString>
#include <optional>
#include <string_view>
#include <vector>

namespace kestrum {

/// A file of "/proc" or "/sys", kept open and read anew from its beginning each time: that costs one system call. What
/// cannot be read is tried again after pauses that grow up to `longestPause` reads, as devices come and rights change.
class KernelFile {
public:
    static constexpr int longestPause = 32;
    /// More than any file that is read this way has.
    static constexpr std::size_t maximumBytes = std::size_t(1) << 20;

    explicit KernelFile(const QString& path);

    /// The content up to `maximumBytes`, valid until the next read; nothing when it cannot be read.
    std::optional<std::string_view> read();

    /// The same as one whole number, with or without a sign; nothing when it is not just that.
    std::optional<qint64> readNumber();

private:
    std::optional<std::string_view> readOpened();

    QByteArray m_path;
    FileDescriptor m_descriptor;
    std::vector<char> m_buffer;
    int m_pause = 0;    ///< reads to be passed over after the next failure
    int m_passOver = 0; ///< reads still to be passed over
};

} // namespace kestrum
