// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArrayView>
#include <QString>

namespace kestrum {

/// What the name of a control group says about the processes in it. Desktops, systemd and containers put every app into a
/// group of its own, whose name follows their rules.
struct ControlGroup {
    enum class Kind {
        unnamed,   ///< says nothing: a login session, a tab of a terminal, a machine without systemd
        app,       ///< `name` is an application's id, that of its desktop entry
        service,   ///< `name` is a service of the user's session
        system,    ///< `name` is a service of the machine
        container, ///< `name` is the id of a container, which people do not know
        machine,   ///< `name` is the name of a virtual machine or container
    };
    Kind kind = Kind::unnamed;
    QString name;
    bool operator==(const ControlGroup&) const = default;

    /// The path in the content of "/proc/PID/cgroup"; empty if there is none. Valid as long as `content`.
    static QByteArrayView pathIn(QByteArrayView content);
    static ControlGroup parsed(QByteArrayView path);
};

} // namespace kestrum
