// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QString>
#include <cerrno>
#include <optional>

namespace kestrum {

/// A program that the desktop starts at login: an entry "<identifier>.desktop" in the user's autostart folder, or one for the
/// whole system, which the user's covers. Every call reads or writes the disk; any thread.
class LoginItemService {
public:
    enum class Status {
        notRegistered, ///< no entry, or `unregister` switched it off
        enabled,
        requiresApproval, ///< the desktop's own settings switched the entry off
        notFound,         ///< there is an entry, but this desktop does not start the program from it
    };

    /// Why a change failed. A negative code is an `errno` with its sign turned.
    static constexpr int notTrusted
        = 3; ///< the program or a folder above it may be changed by others, or it cannot be run
    static constexpr int nothingThere = 6;  ///< there is nothing to remove
    static constexpr int refused = 11;      ///< the autostart folder refuses us
    static constexpr int alreadyThere = 12; ///< it is registered as it should be
    static constexpr int notForRoot = -EPERM;
    struct Error {
        int code;
        QString text; ///< names the thing and the reason
    };

    /// `program` is the absolute path of what the entry starts, with `argument`, a word of letters and dashes, where one is given;
    /// `name` is how desktops list it.
    LoginItemService(const QString& identifier, const QString& program, const QString& name,
        const QByteArray& argument = {});

    Status status() const;
    /// Writes the entry, or switches the one that is there on again. Whatever others wrote into it is kept. Nothing on
    /// success. Root is refused.
    std::optional<Error> registerItem() const;
    /// Takes the entry away; one that holds more than ours is kept under another name for `registerItem`. Where there is one for
    /// the whole system, the user gets an entry that is switched off instead.
    std::optional<Error> unregister() const;

    /// Opens the desktop's own settings of what starts at login, or the folder of the entries where it has none. False when
    /// neither can be shown.
    bool openSystemSettingsLoginItems() const;

    /// The entry's file, whether or not it is there.
    QString entryPath() const;

private:
    QString entryIn(const QString& configDirectory) const;
    /// What holds as long as the user has no entry: `enabled`, `notRegistered` or `notFound`.
    Status statusForAll() const;
    std::optional<Error> write(const QByteArray& path, bool isOn) const;
    std::optional<Error> moved(int directory, const QByteArray& from, const QByteArray& to) const;
    std::optional<Error> setAside(int directory, const QByteArray& name) const;

    QString m_identifier;
    QString m_program;
    QString m_name;
    QByteArray m_argument;
};

} // namespace kestrum
