#pragma once

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QTemporaryDir>
#include <QTest>

namespace kestrum {

/// A temporary folder of files, by which a test builds the machine or the bundle that it needs. Removed at
/// the end.
class FileTree {
public:
    QString root() const { return m_directory.path(); }
    QString path(const QString& relative) const { return m_directory.filePath(relative); }

    /// Writes a file, and the folders on the way to it.
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
