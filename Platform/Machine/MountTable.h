// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Machine/KernelFile.h"
#include "Platform/Machine/VolumeUse.h"

#include <QByteArray>
#include <QList>
#include <string_view>

namespace kestrum {

/// The mounted volumes that people know of, from "/proc/self/mountinfo": each once, however many places it is mounted at.
/// Memory, images, and what the system mounts for itself are left out. Reading the table asks no volume.
class MountTable {
public:
    struct Volume {
        QByteArray path; ///< the shortest path that the volume is mounted at
        QString name;    ///< the path, a label or a share
        VolumeUse::Kind kind = VolumeUse::Kind::local;
        QByteArray device; ///< the same for all places of the volume
        bool operator==(const Volume&) const = default;
    };

    /// Reads the table.
    explicit MountTable(const QString& root = {});

    /// Reads the table again if the kernel has told of a change. Returns whether the volumes are other ones. Costs no more
    /// than a system call otherwise.
    bool update();

    /// In the order in which they are shown: "/", "/home", others of this machine, removable ones, network.
    const QList<Volume>& volumes() const { return m_volumes; }

    /// The volumes of a table in the kernel's form. Damaged lines are left out.
    static QList<Volume> volumes(std::string_view table);

private:
    KernelFile m_file;
    QList<Volume> m_volumes;
};

} // namespace kestrum
