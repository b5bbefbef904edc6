// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Files/FileDescriptor.h"
#include "Platform/Log/Result.h"

#include <QByteArray>
#include <QString>

namespace kestrum {

/// The private directory "$XDG_RUNTIME_DIR/kestrum", where the processes of one user share files. $XDG_RUNTIME_DIR must be an
/// absolute path to a directory that belongs to this user and that no other user may enter. Otherwise, opening fails; no shared
/// directory is used instead.
class RuntimeDirectory {
public:
    /// The process's runtime directory, opened on first use.
    static const Result<RuntimeDirectory>& shared();

    /// Opens the process's runtime directory again, because the directory that `shared` opened may have been moved or removed, or
    /// could not be opened at that time.
    static Result<RuntimeDirectory> reopen();

    /// Where the process's runtime directory is, if it can be opened. Empty if $XDG_RUNTIME_DIR was no absolute path.
    static QString expectedPath();

    /// Opens "kestrum" below `root` and creates it if needed, with mode 0700. The text of a failure is safe for one log line.
    static Result<RuntimeDirectory> open(const QString& root);

    /// The directory's descriptor, for calls such as `openat`. Owned by this object.
    int descriptor() const { return m_directory.get(); }
    QString path() const;

    /// The descriptor of $XDG_RUNTIME_DIR, for relative paths that begin with "kestrum/". Such paths stay valid when "kestrum"
    /// is moved, or removed and created again. Owned by this object.
    int rootDescriptor() const { return m_root.get(); }
    QString rootPath() const { return m_rootPath; }

    /// Opens the subdirectory `name`, creates it if needed (mode 0700), and checks its owner and mode.
    Result<FileDescriptor> openSubdirectory(const char* name) const;

private:
    QString m_rootPath;
    FileDescriptor m_root;
    FileDescriptor m_directory;
};

} // namespace kestrum
