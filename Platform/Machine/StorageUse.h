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
    /// The system call. Tests replace it by a function that hangs.
    using Ask = std::function<int(const char*, struct statvfs*)>;

    /// The volume of the directory `root`, or of "/" without `root`.
    explicit StorageUse(const QString& root = {}, Ask ask = ::statvfs);

    /// Nothing when the volume does not answer or has no size.
    std::optional<Room> read() const;

private:
    QByteArray m_path;
    Ask m_ask;
};

} // namespace kestrum
