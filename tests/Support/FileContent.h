#pragma once

#include <QByteArray>
#include <QDir>
#include <QFile>
#include <QTest>
#include <fcntl.h>
#include <sys/stat.h>

namespace kestrum {

/// The content of a file. For a file that cannot be read: an error text that equals no expected content.
inline QByteArray contentOf(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("cannot be read");
}

/// Writes a file, and makes the folders above it.
inline void write(const QString& path, const QByteArray& content)
{
    QVERIFY(QDir().mkpath(QFileInfo(path).path()));
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly | QIODevice::Truncate));
    QCOMPARE(file.write(content), content.size());
}

/// Sets the times of a file or folder, in seconds since 1970.
inline void setTimes(const QString& path, time_t seconds)
{
    const struct timespec time {
        seconds, 0
    };
    const struct timespec times[] {
        time, time
    };
    QCOMPARE(::utimensat(AT_FDCWD, QFile::encodeName(path).constData(), times, 0), 0);
}

/// Writes a file that its owner may run.
inline void writeProgram(const QString& path, const QByteArray& content)
{
    write(path, content);
    QVERIFY(QFile::setPermissions(path, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
}

} // namespace kestrum
