// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Files/FileDescriptor.h"
#include "Platform/Log/Result.h"

#include <QByteArray>

namespace kestrum {

/// The lock that all writers of one settings file share: a kernel lock on a permanent, empty file of mode 0600. The kernel
/// releases the lock when the process ends, even if the process crashes.
class SettingsLock {
public:
    /// Locks the file `path`, and creates it if needed. Waits while other writers make progress: at most 2 s without a change
    /// in the file's directory, and 10 s in all. Then fails with ETIMEDOUT.
    static Result<SettingsLock> acquire(const QByteArray& path);

    /// Whether the lock file did not exist before. Then no process has saved the settings file yet.
    bool isNew() const { return m_isNew; }

private:
    FileDescriptor m_file;
    bool m_isNew = false;
};

} // namespace kestrum
