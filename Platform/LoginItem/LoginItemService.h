// SPDX-License-Identifier: MIT
#pragma once

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

    /// The values of `Failure::error` in this class. Any other value is a negative `errno`, because some positive `errno` equal
    /// one of these values.
    static constexpr int notTrusted = 3;   ///< others may change the program or its path, or it cannot be run
    static constexpr int nothingThere = 6; ///< there is nothing to remove
    static constexpr int refused = 11; ///< no permission for the autostart folder, or a read-only file system
    static constexpr int alreadyThere = 12; ///< already registered, or already switched off
    static constexpr int notForRoot = -EPERM;

    /// The entry starts `program`, an absolute path, with `argument`, which is a word of letters and dashes or empty. Desktops
    /// show `name` in their lists.
    LoginItemService(const QString& identifier, const QString& program, const QString& name,
        const QByteArray& argument = {});

    Status status() const;
    /// Writes the entry, or switches an existing entry on again. Lines that others wrote into the entry do not change. Fails for
    /// root.
    Result<> registerItem() const;
    /// Removes the entry. If the entry holds more than our keys, it is renamed instead, and `registerItem` can rename it back. If
    /// there is an entry for the whole system, the user gets an entry that is switched off.
    Result<> unregister() const;

    /// Opens the desktop's own settings for programs that start at login or, if the desktop has none, the folder of the entries.
    /// Returns false when neither can be opened. The function is named after the button that calls it.
    bool openSystemSettingsLoginItems() const;

    /// The path of the entry's file, which need not exist.
    QString entryPath() const;

private:
    QString entryIn(const QString& configDirectory) const;
    /// The status while the user has no entry: `enabled`, `notRegistered` or `notFound`.
    Status statusForAll() const;
    Result<> write(const QByteArray& path, bool isOn) const;
    Result<> moved(int directory, const QByteArray& from, const QByteArray& to) const;
    Result<> setAside(int directory, const QByteArray& name) const;

    QString m_identifier;
    QString m_program;
    QString m_name;
    QByteArray m_argument;
};

} // namespace kestrum
