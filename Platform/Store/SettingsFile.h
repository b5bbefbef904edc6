// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Files/AtomicFile.h"
#include "Platform/Files/FilePath.h"
#include "Platform/Log/Result.h"

#include <QByteArray>
#include <QJsonObject>
#include <QString>
#include <QStringList>
#include <chrono>
#include <sys/types.h>

namespace kestrum {

/// One settings file on disk. An interrupted save leaves either the complete old or the complete new file. Thread-safe.
class SettingsFile {
public:
    /// Log category of this class, and of callers that log its failures.
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

    /// The kinds of failures, by what the user can do about them. The window shows a translated text for each kind. The log and
    /// a tool tip show the file and the system's error message.
    enum class Trouble {
        none,
        diskFull,
        notAllowed, ///< no permission for the file or its folder
        busy,       ///< another program is using the file
        other,
    };
    static Trouble troubleOf(const Failure& failure);

    /// An absent, blank or damaged file is accepted only if it stays so for this time, because editors save in several steps.
    static constexpr std::chrono::milliseconds believedAfter { 200 };

    /// Whether a program may be in the middle of saving the file.
    enum class Doubt {
        none,
        passing, ///< blank or damaged, and written less than `believedAfter` ago
        open,    ///< blank or damaged, written less than 10 s ago, and open for writing
    };

    struct Content {
        QJsonObject values;
        Identity identity;
        /// The error in the file's text; empty if the text is sound. A damaged text gives the `values` that could be salvaged.
        QString damage;
        /// Whether the file changed less than 20 ms before it was read. Then another write may leave `identity` unchanged.
        bool isFresh = false;
        Doubt doubt = Doubt::none;
        bool isSound() const { return identity.size >= 0 && damage.isEmpty() && doubt == Doubt::none; }
    };

    struct Changes {
        QJsonObject values;
        QStringList removed;
        QJsonObject appliedTo(const QJsonObject& before) const;
    };

    /// The file's content after the save, or the failure.
    struct Saved : Result<Content> {
        using Result::Result;
        /// Whether the file was replaced; false if it contained all changes already. True together with a failure means that
        /// the new file is in place but may not survive a power cut.
        bool changed = false;
    };

    enum class Owner {
        ourselves, ///< only this user's files are accepted
        anybody,
    };

    explicit SettingsFile(const QString& path, Owner owner = Owner::ourselves);

    QString path() const { return m_path; }
    /// Returns every symbolic link on the path, including links to directories, and the file itself, which need not exist. A
    /// change of any entry can change which file is read.
    QStringList linkChain() const;

    /// The current state, from one `stat` call; an absent file has size -1.
    Identity identity() const;
    /// Reads the file without waiting. An absent file gives no values. Damage is logged. Fails if the file cannot be read.
    Result<Content> read() const;
    /// Like `read`, for the first reading. Waits a moment if the file was just removed, or if it is blank or damaged and a
    /// program has it open for writing. Does not wait for a blank or damaged file that no program has open.
    Result<Content> readFirst() const;

    /// Merges `changes` into the file and syncs the file to disk. A lock excludes other users of this class. The wait for the
    /// lock lasts as long as other writers make progress (see `SettingsLock`). A damaged file is copied before it is replaced.
    /// An unreadable file is not replaced. Root saves nothing in another user's home or directory.
    Saved save(const Changes& changes) const;

    /// Removes temporary files of killed writers that are more than an hour old.
    void sweepLeftovers() const;

private:
    struct Reading;
    Result<Reading> readAt(int directory, const QByteArray& name, int flags) const;
    Result<Reading> readSettled(int directory, const QByteArray& name, bool wasSaved, bool mayBeHalf) const;
    Saved merged(const Changes& changes, int directory, const FilePath::Parts& target, bool wasSaved,
        AtomicFile::Over over) const;

    QString m_path;
    Owner m_owner;
};

} // namespace kestrum
