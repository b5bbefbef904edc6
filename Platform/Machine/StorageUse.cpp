// SPDX-License-Identifier: MIT
#include "Platform/Machine/StorageUse.h"

#include <QFile>
#include <algorithm>
#include <limits>

namespace kestrum {

StorageUse::StorageUse(const QString& root, Ask ask)
    : m_path(QFile::encodeName(root + u'/'))
    , m_ask(std::move(ask))
{
}

std::optional<StorageUse::Room> StorageUse::read(const QByteArray& path, const Ask& ask)
{
    struct statvfs volume { };
    if (ask(path.constData(), &volume) != 0)
        return std::nullopt;
    // This is how `df` counts: space that is reserved for root is neither used nor available.
    const double used = double(volume.f_blocks) - double(std::min(volume.f_bfree, volume.f_blocks));
    const double all = used + double(volume.f_bavail);
    if (all <= 0)
        return std::nullopt;
    static constexpr auto largest = double(std::numeric_limits<qint64>::max());
    const double bytes = double(volume.f_bavail) * double(volume.f_frsize);
    return Room { used / all, bytes >= largest ? std::numeric_limits<qint64>::max() : qint64(bytes) };
}

} // namespace kestrum
