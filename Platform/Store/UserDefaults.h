// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Store/SettingsFile.h"
#include "Platform/Store/SettingsSnapshot.h"

#include <QJsonObject>
#include <QJsonValue>
#include <QObject>
#include <QString>
#include <QStringList>
#include <functional>
#include <memory>
#include <optional>
#include <string_view>

namespace kestrum {

/// A named settings domain: one JSON file in "$XDG_CONFIG_HOME/kestrum", shared by all processes that open it.
///
/// A key is looked up in the stored values, then in the administrator's values ("$XDG_CONFIG_DIRS/kestrum", read when the
/// domain is opened), then in the registered defaults of this process. Values are JSON values. Typed reads return nothing if
/// the value is absent or has another type; `object` distinguishes these cases. Reads see every finished save of any process,
/// and need no system call if nothing was saved. A successful write is on disk when the call returns. Reads and writes are
/// thread-safe. Registration, observation and signals are for the main thread only.
class UserDefaults : public QObject {
    Q_OBJECT
public:
    /// The domain of this program, named after the identifier of the main bundle. Lives until the process ends.
    static UserDefaults& standard();

    /// Opens the domain `suiteName`; the caller owns it. Returns null if the name is empty, cannot be a file name, or is the
    /// name of the `standard` domain.
    static std::unique_ptr<UserDefaults> withSuiteName(const QString& suiteName);

    ~UserDefaults() override;

    QString name() const;
    QString filePath() const;

    /// All current effective values. Several reads of one snapshot need only one check for changes.
    SettingsSnapshot snapshot() const;
    /// The effective value; `QJsonValue::Undefined` if no layer has the key.
    QJsonValue object(std::string_view key) const;
    /// Each of these functions returns the effective value if it has the function's type; else nothing.
    std::optional<QString> string(std::string_view key) const;
    std::optional<bool> boolean(std::string_view key) const;
    std::optional<double> number(std::string_view key) const;

    /// `dictionary` returns all effective values, `storedDictionary` only the stored values.
    QJsonObject dictionary() const;
    QJsonObject storedDictionary() const;

    /// Adds `defaults` to the lowest layer. Registered defaults are never saved.
    void registerDefaults(const QJsonObject& defaults);

    /// `set` stores a value, `remove` removes a key, `apply` does both for several keys in one save. A value that is already
    /// stored is not written again and causes no signal. Returns false if the save failed; `lastError` gives the reason. If
    /// only the sync of the directory failed, the new values are effective but may not survive a power cut. Any other failure
    /// changes nothing.
    bool set(std::string_view key, const QJsonValue& value);
    bool remove(std::string_view key);
    bool apply(const QJsonObject& values, const QStringList& removedKeys);

    /// The reason why the last save failed or, without such a failure, why the file cannot be read. Empty if neither failed.
    QString lastError() const;
    /// The kind of the failure in `lastError`; `none` if `lastError` is empty.
    SettingsFile::Trouble lastTrouble() const;

    /// Calls `function` whenever `changed` is emitted with one of `keys`, until `owner` is destroyed.
    void observe(const QStringList& keys, QObject* owner, std::function<void()> function) const;
    /// Reads the file if it has changed, even if the counter and the watch reported no change. `changed` is emitted as usual.
    /// Main thread only.
    void synchronize();

    /// Removes old temporary files of killed writers. Meant to be called after start-up.
    void sweepLeftovers();

Q_SIGNALS:
    /// Emitted after this process or another one has changed stored values. `keys` lists, in alphabetical order, the keys whose
    /// effective value changed since the last emission, even if the value changed back. `keys` is empty if no effective value
    /// changed. The main thread's event loop emits the signal, once for several writes in one turn. The first connection to
    /// this signal starts the observation of the file.
    void changed(const QStringList& keys);
    /// `saveFailed`: a save failed. `saveSucceeded`: a save succeeded after a failed one. Emitted from the event loop.
    void saveFailed(const QString& reason);
    void saveSucceeded();

protected:
    void connectNotify(const QMetaMethod& signal) override;

private:
    struct Domain;
    explicit UserDefaults(const QString& name);
    std::unique_ptr<Domain> m_domain;
};

} // namespace kestrum
