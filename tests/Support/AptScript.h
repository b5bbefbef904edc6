#pragma once

#include "tests/Support/FileTree.h"

namespace kestrum {

/// A script that is the first "apt-cache" on the path for as long as this object lives. It misbehaves in ways that a real APT
/// does not when a test needs it. "${0%/*}" is the script's own folder.
class AptScript {
public:
    explicit AptScript(const QByteArray& script, const QByteArray& interpreter = "/bin/sh")
        : m_path(qgetenv("PATH"))
    {
        const QString name = QStringLiteral("apt-cache");
        m_tree.write(name, "#!" + interpreter + '\n' + script);
        QVERIFY(
            QFile::setPermissions(m_tree.path(name), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
        qputenv("PATH", m_tree.root().toUtf8() + ':' + m_path);
    }
    ~AptScript() { qputenv("PATH", m_path); }
    Q_DISABLE_COPY_MOVE(AptScript)

    /// The content of the file `name` in the script's folder.
    QByteArray written(const char* name) const
    {
        QFile file(m_tree.path(QString::fromLatin1(name)));
        return file.open(QIODevice::ReadOnly) ? file.readAll().trimmed() : QByteArray();
    }

private:
    QByteArray m_path;
    FileTree m_tree;
};

} // namespace kestrum
