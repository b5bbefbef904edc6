#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QString>
#include <QStringList>
#include <chrono>
#include <sys/types.h>

namespace kestrum {

/// One settings file on disk: read whole, saved so that after any interruption it is the old or the new file.
/// Knows nothing of defaults, notices or typed values. Functions may be called from any thread.
class SettingsFile {
public:
    /// Where it logs, and whoever logs what it told.
    static constexpr char logArea[] = "store";

    /// What tells one state of the file from another. Compared for equality only, never ordered by time.
    struct Identity {
        dev_t device = 0;
        ino_t inode = 0;
        off_t size = -1; ///< -1: there is no file
        qint64 modifiedNs = 0;
        qint64 changedNs = 0;
        bool operator==(const Identity&) const = default;
    };

    /// What kind of reason an error has, as far as people can do something about it.
    enum class Trouble {
        none,
        diskFull,
        notAllowed, ///< to read or write the file or its folder
        busy,       ///< another program keeps the file to itself
        other,
    };

    /// How long a file that is away or not whole must stay so until that is believed: editors save in several steps.
    static constexpr std::chrono::milliseconds believedAfter { 200 };

    /// What speaks for a state of the file between two steps of a program that is saving it.
    enum class Doubt {
        none,
        passing, ///< blank or damaged, and written less than `believedAfter` ago
        open,    ///< blank or damaged, and a program that wrote to it some seconds ago has it open
    };

    struct Content {
        QJsonObject values;
        Identity identity;
        /// Why the file could not be read at all (not: "it is absent" or "it is damaged"); empty otherwise.
        QString error;
        Trouble trouble = Trouble::none;
        /// What is wrong with the file's text; `values` is then what could be salvaged.
        QString damage;
        /// The file was written so shortly before it was read that a further write may leave `identity` as it
        /// is.
        bool isFresh = false;
        Doubt doubt = Doubt::none;
        bool isSound() const { return identity.size >= 0 && damage.isEmpty() && doubt == Doubt::none; }
    };

    /// Values to store, and keys to remove.
    struct Changes {
        QJsonObject values;
        QStringList removed;
        QJsonObject appliedTo(const QJsonObject& before) const;
    };

    struct Saved {
        bool succeeded = false;
        /// The file is another one now: false when all changes were already in it and nothing was written.
        /// True together with a failure when the new file stands, but may not outlast a power cut.
        bool changed = false;
        QString error; ///< names the file, the step and the reason
        Trouble trouble = Trouble::none;
        Content content; ///< the file after the save; on failure what was read, if anything
    };

    enum class Owner {
        ourselves, ///< a file of somebody else is refused
        anybody,
    };

    explicit SettingsFile(const QString& path, Owner owner = Owner::ourselves);

    QString path() const { return m_path; }
    /// The file itself: `path` with its symbolic links followed; a dangling link gives where it points.
    QString targetPath() const;
    /// Every symbolic link on the way, folders' too, and the file itself: where a change may come from.
    QStringList trail() const;

    /// The present state, by one `stat`; an absent file has size -1.
    Identity identity() const;
    /// Reads what is there. Never waits, whatever stands there. A damaged file is told in the log.
    Content read() const;
    /// As `read`, for one who has not seen the file before: waits a moment for one that is between two steps of being saved, or
    /// was there just now. Does not wait for one that is just not whole.
    Content readFirst() const;

    /// Merges `changes` into what is on disk now and saves durably, under a lock that all writers share.
    /// Waits for the lock as long as others get further (see `SettingsLock`). A damaged file is copied before it is written over; one that cannot be
    /// read is left alone. Root saves nothing in the home or folder of another user.
    Saved save(const Changes& changes) const;

    /// Removes temporary files that a killed writer left more than an hour ago.
    void sweepLeftovers() const;

private:
    struct Reading;
    Reading readAt(int directory, const QByteArray& name, int flags) const;
    Reading readSettled(int directory, const QByteArray& name, bool wasSaved, bool mayBeHalf) const;
    QString told(const char* step, const QString& reason) const;

    QString m_path;
    Owner m_owner;
};

} // namespace kestrum
