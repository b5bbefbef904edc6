// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QString>
#include <functional>
#include <optional>
#include <sys/statvfs.h>

namespace kestrum {

/// The space on a volume. `read` never returns if the volume hangs, so call it on a worker thread.
class StorageUse {
public:
    struct Room {
        double used = 0;      ///< 0…1
        qint64 available = 0; ///< bytes that an ordinary user can still use
        bool operator==(const Room&) const = default;
    };
    /// The type of `statvfs`. Tests pass a function that hangs instead.
    using Ask = std::function<int(const char*, struct statvfs*)>;

    /// Measures the volume of the directory `root`; an empty `root` means "/".
    explicit StorageUse(const QString& root = {}, Ask ask = ::statvfs);

    /// Nothing if the system call fails or the volume has no size.
    std::optional<Room> read() const { return read(m_path, m_ask); }
    static std::optional<Room> read(const QByteArray& path, const Ask& ask);

private:
    QByteArray m_path;
    Ask m_ask;
};

} // namespace kestrum
