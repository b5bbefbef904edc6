// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Files/AtomicFile.h"
#include "Platform/Log/Result.h"

#include <QByteArray>
#include <QString>
#include <cerrno>

namespace kestrum {

/// A program that the desktop starts at login. Its entry is "<identifier>.desktop" in the user's autostart folder or, if the user
/// has no such entry, in an autostart folder for the whole system. Every call reads or writes the disk. Any thread.
class LoginItemService {
public:
    enum class Status {
        notRegistered, ///< no entry, or `unregister` switched it off
        enabled,
        requiresApproval, ///< the desktop's own settings switched the entry off
        notFound,         ///< there is an entry, but this desktop does not start the program from it
    };

    /// The values of `Failure::error` in this class. Any other error is a negative `errno`, because a positive `errno` could
    /// equal one of these values.
    static constexpr int notTrusted = 3;   ///< others can change the program or its path, or it cannot be run
    static constexpr int nothingThere = 6; ///< there is nothing to remove
    static constexpr int refused = 11; ///< no permission for the autostart folder, or a read-only file system
    static constexpr int alreadyThere = 12; ///< already registered, or already switched off
    static constexpr int notForRoot = -EPERM;

    /// The entry starts the program at the absolute path `program`. `argument` is a word of letters and dashes, or empty.
    /// `name` is shown in the desktop's lists.
    LoginItemService(const QString& identifier, const QString& program, const QString& name,
        const QByteArray& argument = {});

    Status status() const;
    /// Writes the entry, or switches an existing entry on again. Lines that others wrote do not change. Fails for root.
    Result<> registerItem() const;
    /// Removes the user's entry. An entry with keys of others is renamed instead, and `registerItem` can rename it back. If an
    /// entry for the whole system starts the program, the user gets an entry that is switched off.
    Result<> unregister() const;

    /// Opens the desktop's settings for programs that start at login or, if there are none, the folder of the entries. Returns
    /// false if neither can be opened. The function is named after the button that calls it.
    bool openSystemSettingsLoginItems() const;

    /// The path of the user's entry, which need not exist.
    QString entryPath() const;

private:
    QString entryIn(const QString& configDirectory) const;
    /// The status while the user has no entry: `enabled`, `notRegistered` or `notFound`.
    Status statusForAll() const;
    Result<> write(const QByteArray& path, bool isOn) const;
    Result<> write(const QByteArray& path, bool isOn, int directory, const QByteArray& name,
        AtomicFile::Over over) const;
    Result<> moved(int directory, const QByteArray& from, const QByteArray& to) const;
    Result<> setAside(int directory, const QByteArray& name) const;

    QString m_identifier;
    QString m_program;
    QString m_name;
    QByteArray m_argument;
};

} // namespace kestrum
