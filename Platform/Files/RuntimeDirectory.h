#pragma once

#include <QByteArray>
#include <QString>

namespace kestrum {

/// The private directory "$XDG_RUNTIME_DIR/kestrum", where processes of one user meet. It is used only when
/// $XDG_RUNTIME_DIR is an absolute path to a directory of ours that nobody else may enter; there is no
/// fall-back in a shared place.
class RuntimeDirectory {
public:
    /// The process's runtime directory, opened on first use.
    static const RuntimeDirectory& shared();

    /// Opens (and creates, 0700) "kestrum" below `root`. Check with `isValid`.
    explicit RuntimeDirectory(const QString& root);
    ~RuntimeDirectory();
    RuntimeDirectory(const RuntimeDirectory&) = delete;
    RuntimeDirectory& operator=(const RuntimeDirectory&) = delete;

    bool isValid() const { return m_descriptor >= 0; }
    /// Why the directory is not valid; empty when it is.
    QString reason() const { return m_reason; }
    /// Descriptor for calls relative to the directory; owned by this object, -1 when not valid.
    int descriptor() const { return m_descriptor; }
    QString path() const { return m_path; }

    /// The directory above, for names that begin with "kestrum/": they still lead to the right place when
    /// "kestrum" was moved or removed and made anew. Owned by this object, -1 when not valid.
    int rootDescriptor() const { return m_rootDescriptor; }
    QString rootPath() const { return m_rootPath; }

    /// Opens the sub-directory `name` (created 0700), checked like the directory itself. Returns a descriptor
    /// that the caller owns, or -1.
    int openSubdirectory(const char* name) const;

private:
    QString m_rootPath;
    QString m_path;
    QString m_reason;
    int m_rootDescriptor = -1;
    int m_descriptor = -1;
};

} // namespace kestrum
