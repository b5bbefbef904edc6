#pragma once

#include "tests/Support/Programs.h"

#include <sys/types.h>

namespace kestrum {

/// For tests about permissions, which do not restrict root. If the process runs as root, the constructor gives the named files
/// and directories to an ordinary user, makes them reachable, and becomes that user until the destructor. Else it does nothing.
class OrdinaryUser {
public:
    /// `group` becomes the group of the files, not of the process.
    explicit OrdinaryUser(const QStringList& files, gid_t group = gid_t(-1));
    ~OrdinaryUser();
    Q_DISABLE_COPY_MOVE(OrdinaryUser)

private:
    bool m_wasRoot;
};

/// Returns `command`, a program and its arguments, changed so that it runs as the user that `OrdinaryUser` becomes. If this
/// process was not started by root, returns `command` unchanged.
QStringList asOrdinaryUser(const QStringList& command);
/// Like `Programs::started` and `Programs::output`, but the command runs as that ordinary user.
std::unique_ptr<QProcess> startedAsUser(const QStringList& command);
QByteArray outputAsUser(const QStringList& command);

} // namespace kestrum
