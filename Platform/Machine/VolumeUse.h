// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <optional>

namespace kestrum {

/// A mounted volume.
struct VolumeUse {
    enum class Kind { local, removable, network };
    struct Space {
        double used = 0; ///< 0…1
        qint64 free = 0; ///< bytes that an ordinary user can still use
        bool operator==(const Space&) const = default;
    };

    QString id;   ///< the volume's path; not for display
    QString name; ///< a path, a label or a share
    Kind kind = Kind::local;
    std::optional<Space> space; ///< absent before the first answer
    bool isSilent = false;      ///< a request has waited for two seconds or more
    bool operator==(const VolumeUse&) const = default;
};

} // namespace kestrum
