#pragma once

#include <QStringList>
#include <sys/types.h>

namespace kestrum {

/// For tests about permissions, which do not restrict root. As root, it gives the named files and directories to an ordinary
/// user, makes them reachable, and makes the process that user until the destructor runs. For an ordinary user, it does nothing.
class OrdinaryUser {
public:
    /// `group` becomes the group of the files, not of the process.
    explicit OrdinaryUser(const QStringList& files, gid_t group = gid_t(-1));
    ~OrdinaryUser();
    OrdinaryUser(const OrdinaryUser&) = delete;
    OrdinaryUser& operator=(const OrdinaryUser&) = delete;

private:
    bool m_wasRoot;
};

} // namespace kestrum
