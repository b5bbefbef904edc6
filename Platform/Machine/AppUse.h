// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

namespace kestrum {

/// What one app uses: an application with all of its processes, a service, a container, or a job in a terminal.
struct AppUse {
    QString id;           ///< identifies the app while it runs; not for display
    QString name;         ///< for display, in the interface language; empty for the kernel's own threads
    double cores = 0;     ///< CPU seconds per second
    qint64 memory = 0;    ///< bytes
    double readRate = 0;  ///< bytes per second from volumes
    double writeRate = 0; ///< bytes per second to volumes
    bool operator==(const AppUse&) const = default;
};

} // namespace kestrum
