#pragma once

#include "tests/Support/FileContent.h"

#include <QTemporaryDir>

namespace kestrum {

/// A temporary folder in which a test builds a machine's files or a bundle. The destructor removes it.
class FileTree {
public:
    QString root() const { return m_directory.path(); }
    QString path(const QString& relative) const { return m_directory.filePath(relative); }

    /// Writes a file, and makes the folders above it.
    void write(const QString& relative, const QByteArray& content) const
    {
        kestrum::write(path(relative), content);
    }
    QByteArray read(const QString& relative) const { return contentOf(path(relative)); }

private:
    QTemporaryDir m_directory;
};

} // namespace kestrum
