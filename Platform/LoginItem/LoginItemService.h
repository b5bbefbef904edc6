// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Log/Result.h"

#include <QByteArray>
#include <QString>
#include <cerrno>

namespace kestrum {

/// A program that the desktop starts at login: an entry "<identifier>.desktop" in the user's autostart folder or, where the user
/// has none, in one for the whole system. Every call reads or writes the disk; any thread.
class LoginItemService {
public:
    enum class Status {
        notRegistered, ///< no entry, or `unregister` switched it off
        enabled,
        requiresApproval, ///< the desktop's own settings switched the entry off
        notFound,         ///< there is an entry, but this desktop does not start the program from it
    };

    /// The `error` of a `Failure` here. Any other is an `errno` with its sign turned, since some have the number of one of these.
    static constexpr int notTrusted
        = 3; ///< the program or a folder above it may be changed by others, or it cannot be run
    static constexpr int nothingThere = 6;  ///< there is nothing to remove
    static constexpr int refused = 11;      ///< the autostart folder refuses us
    static constexpr int alreadyThere = 12; ///< it is registered as it should be
    static constexpr int notForRoot = -EPERM;

    /// The entry starts `program`, an absolute path, with `argument`, a word of letters and dashes or nothing. `name` is how
    /// desktops list it.
    LoginItemService(const QString& identifier, const QString& program, const QString& name,
        const QByteArray& argument = {});

    Status status() const;
    /// Writes the entry, or switches an existing one on again. Whatever others wrote into it stays. Root is refused.
    Result<> registerItem() const;
    /// Removes the entry. One that holds more than ours is renamed, for `registerItem` to find. Where there is an entry for
    /// the whole system, the user gets an entry that is switched off instead.
    Result<> unregister() const;

    /// Opens the desktop's own settings of what starts at login or, where it has none, the folder of the entries. False
    /// when neither can be shown. The name is that of the button that calls it.
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
