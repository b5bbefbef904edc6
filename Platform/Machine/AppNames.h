// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArrayList>
#include <QHash>
#include <QString>
#include <QStringList>
#include <chrono>
#include <ctime>
#include <optional>
#include <vector>

namespace kestrum {

/// The names of installed applications, from their desktop entries.
class AppNames {
public:
    struct Entry {
        QString id;   ///< the file's name without ".desktop"; folders in it are followed by a dash
        QString name; ///< in the language of the last `update`
        QString windowClass;
        QByteArray program;  ///< name of the program that it starts; empty if it cannot be told
        bool isShown = true; ///< whether menus show it
        bool operator==(const Entry&) const = default;
    };

    /// `folders` hold folders "applications". The first ones come before the others. Nothing is read before `update`.
    explicit AppNames(QStringList folders = userFolders());
    /// The user's and the system's data folders, as the session gives them.
    static QStringList userFolders();

    /// Folders are looked at no more often, because those of a network home wait for its server.
    static constexpr std::chrono::seconds lookPause { 30 };

    /// Reads the entries if that was not done for `language` (as "pt-BR") yet, or if an entry has come or gone since, which is
    /// seen only `lookPause` after the last look. `now` is a clock that only goes forward. Returns true if it read them:
    /// pointers to entries are then no longer valid.
    bool update(const QString& language, std::chrono::nanoseconds now);

    /// The entry with this id; nothing if there is none.
    const Entry* entry(const QString& id) const;
    /// The entry of an application whose id came from elsewhere, as some use their window's or program's name for it.
    const Entry* entryOfApp(const QString& id) const;
    /// The entry that starts a program of this name. Nothing if several do and none of them is clearly the program's own.
    const Entry* entryOfProgram(const QByteArray& program) const;

private:
    static constexpr int none = -1;
    struct Folder {
        QByteArray path;
        std::optional<timespec> time; ///< of its last change; nothing if it is not there
    };
    struct OwnEntry {
        int place = none; ///< in `m_entries`; none where several entries are equally good
        int clearness = 0;
    };
    void readFolder(const QByteArray& path, const QString& prefix, int depth);
    void readEntry(const QByteArray& path, const QString& id);
    void addToIndexes();
    bool hasChanged() const;

    QStringList m_dataFolders;
    QString m_language;
    QByteArrayList m_nameKeys;                          ///< keys of the name in the language, the best first
    std::optional<std::chrono::nanoseconds> m_lastLook; ///< at the folders; nothing before the first reading
    std::vector<Folder> m_folders;                      ///< all that were looked into
    std::vector<Entry> m_entries;
    QHash<QString, int> m_ids; ///< places in `m_entries`; none for an entry that is switched off
    QHash<QString, int> m_windowClasses;
    QHash<QByteArray, OwnEntry> m_programs;
};

} // namespace kestrum
