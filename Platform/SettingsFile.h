#pragma once

#include <QJsonObject>
#include <QString>
#include <QStringList>
#include <sys/types.h>

namespace kestrum {

/// One settings file on disk: read whole, saved so that after any interruption it is the old or the new file. Knows
/// nothing of defaults, notices or typed values.
class SettingsFile {
public:
    /// What tells one state of the file from another. Compared for equality only, never ordered by time.
    struct Identity {
        dev_t device = 0;
        ino_t inode = 0;
        off_t size = -1; ///< -1: there is no file
        qint64 modifiedNs = 0;
        qint64 changedNs = 0;
        bool operator==(const Identity &) const = default;
    };

    struct Content {
        QJsonObject values;
        Identity identity;
        /// Why the file could not be read at all (not: "it is absent" or "it is damaged"); empty otherwise.
        QString error;
        /// What is wrong with the file's text; `values` is then what could be salvaged.
        QString damage;
    };

    /// Values to store, and keys to remove.
    struct Changes {
        QJsonObject values;
        QStringList removed;
    };

    struct Saved {
        bool succeeded = false;
        bool changed = false; ///< false also when all changes were already in the file: nothing was written
        QString error; ///< names the file, the step and the reason
        Content content; ///< the file after the save; on failure what was read, if anything
    };

    explicit SettingsFile(const QString &path);

    QString path() const { return m_path; }
    /// The file itself: `path` with its symbolic links followed; a dangling link gives where it points.
    QString targetPath() const;

    /// The present state, by one `stat`; an absent file has size -1.
    Identity identity() const;
    Content read() const;

    /// Merges `changes` into what is on disk now and saves durably, under a lock that all writers share. Waits at most
    /// 2 s for the lock.
    Saved save(const Changes &changes) const;

    /// Removes temporary files that a killed writer left more than an hour ago.
    void sweepLeftovers() const;

private:
    QString m_path;
};

} // namespace kestrum
