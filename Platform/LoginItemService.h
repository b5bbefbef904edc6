#pragma once

#include <QString>
#include <optional>

namespace kestrum {

/// A program that the desktop starts at login: an entry "<identifier>.desktop" in the user's autostart folder. Every call
/// reads or writes the disk; any thread.
class LoginItemService {
public:
    enum class Status {
        notRegistered, ///< no entry
        enabled,
        requiresApproval, ///< the desktop's own settings switched the entry off
        notFound,         ///< there is an entry, but its program is gone
    };

    /// Why a change failed. Codes: 3 the program may be changed by others or cannot be run, 6 there is nothing to remove,
    /// 11 the autostart folder refuses us, 12 registered already; others are the system's own.
    struct Error {
        int code;
        QString text;
    };

    /// `program` is the absolute path of what the entry starts; `name` is how desktops list it.
    LoginItemService(const QString& identifier, const QString& program, const QString& name);

    Status status() const;
    /// Writes the entry, or switches the one that is there on again; foreign keys in it are kept. Nothing on success.
    std::optional<Error> registerItem() const;
    std::optional<Error> unregister() const;

    /// Opens the desktop's own settings of what starts at login. False where none is known.
    static bool openSystemSettingsLoginItems();

private:
    QString m_identifier;
    QString m_program;
    QString m_name;
};

} // namespace kestrum
