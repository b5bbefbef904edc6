#pragma once

#include "tests/Support/FileTree.h"

namespace kestrum {

/// A script that is the first "apt-cache" in PATH while this object exists. It can misbehave in ways that a real APT does not.
/// "${0%/*}" is the script's own folder.
class AptScript {
public:
    explicit AptScript(const QByteArray& script, const QByteArray& interpreter = "/bin/sh")
        : m_path(qgetenv("PATH"))
    {
        writeProgram(m_tree.path(QStringLiteral("apt-cache")), "#!" + interpreter + '\n' + script);
        qputenv("PATH", m_tree.root().toUtf8() + ':' + m_path);
    }
    ~AptScript() { qputenv("PATH", m_path); }
    Q_DISABLE_COPY_MOVE(AptScript)

    /// The content of the file `name` in the script's folder; empty when there is none.
    QByteArray written(const char* name) const
    {
        const QString path = m_tree.path(QString::fromLatin1(name));
        return QFile::exists(path) ? contentOf(path).trimmed() : QByteArray();
    }

private:
    QByteArray m_path;
    FileTree m_tree;
};

} // namespace kestrum
