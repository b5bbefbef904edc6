#pragma once

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

namespace kestrum {

/// A temporary folder in which a test builds a machine's files or a bundle. The destructor removes it.
class FileTree {
public:
    QString root() const { return m_directory.path(); }
    QString path(const QString& relative) const { return m_directory.filePath(relative); }

    /// Writes a file, and makes the folders above it.
    void write(const QString& relative, const QByteArray& content) const
    {
        const QString target = path(relative);
        QVERIFY(QDir().mkpath(QFileInfo(target).path()));
        QFile file(target);
        QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
        QCOMPARE(file.write(content), content.size());
    }

private:
    QTemporaryDir m_directory;
};

} // namespace kestrum
