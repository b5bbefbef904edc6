#pragma once

#include "tests/Support/FileTree.h"

namespace kestrum {

/// A script that stands first on the path as "apt-cache" for as long as this lives: an APT that misbehaves as no real
/// one does for a test. Its own folder is "${0%/*}".
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

    /// What the script wrote into the file `name` of its folder.
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
