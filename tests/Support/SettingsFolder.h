#pragma once

#include "Platform/Files/FileDescriptor.h"
#include "Platform/Store/SettingsFile.h"
#include "tests/Support/FileContent.h"
#include "tests/Support/JsonValues.h"
#include "tests/Support/TestHome.h"

#include <QThread>
#include <fcntl.h>
#include <memory>
#include <sys/file.h>
#include <sys/stat.h>

namespace kestrum {

/// A folder for each test of a settings file. All names are relative to this folder.
class SettingsFolder {
protected:
    void makeFolder()
    {
        m_directory = TestHome::root() + QStringLiteral("/file%1").arg(++m_number);
        QVERIFY(QDir().mkpath(m_directory));
    }
    QString path(const char* name = "suite.json") const
    {
        return m_directory + u'/' + QString::fromLatin1(name);
    }
    /// The file status of `path` itself: a link is not followed.
    static struct stat stateOf(const QString& path)
    {
        struct stat state = {};
        ::lstat(QFile::encodeName(path).constData(), &state);
        return state;
    }

    static SettingsFile::Saved saved(const QString& path, const QJsonObject& values)
    {
        return SettingsFile(path).save({ values, {} });
    }
    /// Locks the file `name`, as a writer does. The lock lasts until the returned descriptor is closed.
    FileDescriptor locked(const char* name) const
    {
        FileDescriptor file(
            ::open(QFile::encodeName(path(name)).constData(), O_RDWR | O_CREAT | O_CLOEXEC, 0600));
        return ::flock(file.get(), LOCK_EX | LOCK_NB) == 0 ? std::move(file) : FileDescriptor();
    }
    /// Whether a writer waits for this lock.
    static bool isAwaited(const FileDescriptor& lock)
    {
        struct stat state = {};
        ::fstat(lock.get(), &state);
        const QByteArray inode = ':' + QByteArray::number(quint64(state.st_ino)) + ' ';
        const QByteArrayList locks = contentOf(QStringLiteral("/proc/locks")).split('\n');
        return std::any_of(locks.begin(), locks.end(),
            [&inode](const QByteArray& line) { return line.contains("-> FLOCK") && line.contains(inode); });
    }
    /// Saves `someValues` in a new thread; `result` is set when the thread has ended.
    static std::unique_ptr<QThread> startSave(const QString& path, SettingsFile::Saved& result)
    {
        std::unique_ptr<QThread> writer(QThread::create([=, &result] {
            result = saved(path, json({ { "a", 1 } }));
        }));
        writer->start();
        return writer;
    }

    const QJsonObject someValues = json({ { "a", 1 } });
    QString m_directory;

private:
    int m_number = 0;
};

} // namespace kestrum
