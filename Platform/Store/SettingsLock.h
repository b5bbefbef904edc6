#pragma once

#include "Platform/Files/FileDescriptor.h"

#include <QByteArray>

namespace kestrum {

/// The lock that all writers of one file share: the kernel's, on a permanent file of mode 0600 that has no
/// content. It goes with the process, however that ends, so it never stays behind.
class SettingsLock {
public:
    /// Waits for the lock on `path` for as long as others get further: gives up after 2 s in which nothing
    /// changed in its directory, and after 10 s in any case. Check with `isHeld`; `errno` then names the reason,
    /// ETIMEDOUT when others held it all the time.
    explicit SettingsLock(const QByteArray& path);

    bool isHeld() const { return m_descriptor.isValid(); }
    /// Whether the lock's file was not there before: then nobody has saved here yet.
    bool isNew() const { return m_isNew; }

private:
    FileDescriptor m_descriptor;
    bool m_isNew = false;
};

} // namespace kestrum
