// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Log/Result.h"

#include <QByteArray>
#include <QJsonObject>
#include <QString>
#include <QStringList>
#include <chrono>
#include <sys/types.h>

namespace kestrum {

/// One settings file on disk: read whole, and saved so that after any interruption the old or the new file is there. Any thread.
class SettingsFile {
public:
    /// Log category, also for callers that report our failures.
    static constexpr char logArea[] = "store";

    /// Identifies one state of the file. Compared for equality only, never ordered by time.
    struct Identity {
        dev_t device = 0;
        ino_t inode = 0;
        off_t size = -1; ///< -1: there is no file
        qint64 modifiedNs = 0;
        qint64 changedNs = 0;
        bool operator==(const Identity&) const = default;
    };

    /// The kind of a failure, as far as people can do something about it. The window shows the kind, which is
    /// translated; the log and a tool tip show the file and the system's own words.
    enum class Trouble {
        none,
        diskFull,
        notAllowed, ///< to read or write the file or its folder
        busy,       ///< another program is using the file
        other,
    };
    static Trouble troubleOf(const Failure& failure);

    /// A file must be absent, blank or damaged for this long before that counts: editors save in several steps.
    static constexpr std::chrono::milliseconds believedAfter { 200 };

    /// Whether a program may be in the middle of saving the file.
    enum class Doubt {
        none,
        passing, ///< blank or damaged, and written less than `believedAfter` ago
        open,    ///< blank or damaged, and a program that wrote to it some seconds ago has it open
    };

    struct Content {
        QJsonObject values;
        Identity identity;
        /// What is wrong with the file's text; `values` is then what could be salvaged.
        QString damage;
        /// The file was written just before it was read: another write may leave `identity` unchanged.
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

    /// The file after the save, or why it failed.
    struct Saved : Result<Content> {
        using Result::Result;
        /// The file was replaced. False if it held all changes already. True with a failure if the new file is in place but may
        /// not survive a power cut.
        bool changed = false;
    };

    enum class Owner {
        ourselves, ///< a file of somebody else is refused
        anybody,
    };

    explicit SettingsFile(const QString& path, Owner owner = Owner::ourselves);

    QString path() const { return m_path; }
    /// `path` with its symbolic links followed; for a dangling link, where it points.
    QString targetPath() const;
    /// Every symbolic link on the way, those of directories included, and the file itself. A change of any of them can change
    /// what is read.
    QStringList linkChain() const;

    /// The present state, by one `stat`; an absent file has size -1.
    Identity identity() const;
    /// Reads the file without waiting. An absent file is empty. Damage is logged. Fails if the file cannot be read.
    Result<Content> read() const;
    /// As `read`, for the first time: waits a moment if a program has the file open for saving, or has just removed it. Does not
    /// wait because the file is blank or damaged.
    Result<Content> readFirst() const;

    /// Merges `changes` into the file on disk and saves durably, under a lock that all writers share. Waits for the lock as long
    /// as other writers make progress (see `SettingsLock`). A damaged file is copied before it is replaced; an unreadable one is
    /// left alone. Root saves nothing in the home or directory of another user.
    Saved save(const Changes& changes) const;

    /// Removes temporary files that a killed writer left more than an hour ago.
    void sweepLeftovers() const;

private:
    struct Reading;
    Result<Reading> readAt(int directory, const QByteArray& name, int flags) const;
    Result<Reading> readSettled(int directory, const QByteArray& name, bool wasSaved, bool mayBeHalf) const;

    QString m_path;
    Owner m_owner;
};

} // namespace kestrum
