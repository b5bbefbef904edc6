#pragma once

#include <QDir>
#include <QDirIterator>
#include <QFile>
#include <QHash>
#include <QSet>
#include <QTest>
#include <sys/inotify.h>
#include <unistd.h>

namespace kestrum {

/// Tells which files below a folder are opened or read. New folders are not seen.
class SeenReads {
public:
    explicit SeenReads(const QString& root)
        : m_queue(::inotify_init1(IN_NONBLOCK | IN_CLOEXEC))
    {
        watch(root, {});
        for (QDirIterator it(root, QDir::Dirs | QDir::NoDotAndDotDot, QDirIterator::Subdirectories);
             it.hasNext();) {
            const QString path = it.next();
            watch(path, path.mid(root.size() + 1) + u'/');
        }
        take(); // the search itself
    }
    ~SeenReads() { ::close(m_queue); }
    Q_DISABLE_COPY_MOVE(SeenReads)

    /// The paths of the files since the last call.
    QSet<QString> take() const
    {
        QSet<QString> paths;
        alignas(inotify_event) char buffer[64 * 1024];
        for (;;) {
            const ssize_t size = ::read(m_queue, buffer, sizeof buffer);
            if (size <= 0)
                return paths;
            for (ssize_t at = 0; at < size;) {
                const auto& event = *reinterpret_cast<const inotify_event*>(buffer + at);
                at += ssize_t(sizeof event + event.len);
                paths.insert(
                    m_folders.value(event.wd) + (event.len > 0 ? QString::fromUtf8(event.name) : QString()));
            }
        }
    }

private:
    void watch(const QString& path, const QString& name)
    {
        const int number
            = ::inotify_add_watch(m_queue, QFile::encodeName(path).constData(), IN_OPEN | IN_ACCESS);
        QVERIFY(number >= 0);
        m_folders[number] = name;
    }
    int m_queue;
    QHash<int, QString> m_folders;
};

} // namespace kestrum
