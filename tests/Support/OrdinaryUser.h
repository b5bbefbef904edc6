#pragma once

#include <QStringList>
#include <sys/types.h>

namespace kestrum {

/// For a test about permissions, which do not bind root: as root, gives the named files and directories to an
/// ordinary user, opens the way to them, and makes the process that user until this object is destroyed.
/// Nothing changes for somebody who is an ordinary user already.
class OrdinaryUser {
public:
    /// `group` is given to the files, not to the process.
    explicit OrdinaryUser(const QStringList& files, gid_t group = gid_t(-1));
    ~OrdinaryUser();
    OrdinaryUser(const OrdinaryUser&) = delete;
    OrdinaryUser& operator=(const OrdinaryUser&) = delete;

private:
    bool m_wasRoot;
};

} // namespace kestrum
