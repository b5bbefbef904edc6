#pragma once

#include <QByteArray>
#include <QString>
#include <functional>
#include <optional>
#include <sys/statvfs.h>

namespace kestrum {

/// Room on a volume. Asking can take for ever when the volume hangs: for a worker only.
class StorageUse {
public:
    struct Room {
        double used = 0;      ///< 0…1
        qint64 available = 0; ///< bytes that an ordinary user can still fill
        bool operator==(const Room&) const = default;
    };
    /// The system's question; tests ask volumes that hang.
    using Ask = std::function<int(const char*, struct statvfs*)>;

    /// The start-up volume, below `root`.
    explicit StorageUse(const QString& root = {}, Ask ask = ::statvfs);

    /// Nothing when the volume does not answer, or has no size.
    std::optional<Room> read() const;

private:
    QByteArray m_path;
    Ask m_ask;
};

} // namespace kestrum
