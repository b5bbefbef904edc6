#pragma once

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QTest>

namespace kestrum {

/// What the file holds. A file that cannot be read gives words that say so and equal no content of a test.
inline QByteArray contentOf(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("cannot be read");
}

/// Writes a file, and makes the folders on the way to it.
inline void write(const QString& path, const QByteArray& content)
{
    QVERIFY(QDir().mkpath(QFileInfo(path).path()));
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    QCOMPARE(file.write(content), content.size());
}

} // namespace kestrum
