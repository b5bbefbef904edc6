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
/// domain is opened), then in the registered defaults of this process. Values are JSON values. Typed reads give nothing if the
/// value is absent or has another type; `object` distinguishes these cases. Reads see every finished save of any process, and
/// need no system call if nothing was saved. A successful write is on disk when the call returns. Reads and writes: any thread.
/// Registration, observation and signals: main thread.
class UserDefaults : public QObject {
    Q_OBJECT
public:
    /// The process's own domain, named after its main bundle's identifier. Lives until the process ends.
    static UserDefaults& standard();

    /// Opens the domain `suiteName`; the caller owns it. Null if the name is empty, cannot be a file name, or is that of the
    /// process's own domain.
    static std::unique_ptr<UserDefaults> withSuiteName(const QString& suiteName);

    ~UserDefaults() override;

    QString name() const;
    QString filePath() const;

    /// All current effective values. Several reads of one snapshot need only one check for changes.
    SettingsSnapshot snapshot() const;
    /// The effective value; `QJsonValue::Undefined` if no layer has the key.
    QJsonValue object(std::string_view key) const;
    /// The effective value if it is a text, a truth value or a number; else nothing.
    std::optional<QString> string(std::string_view key) const;
    std::optional<bool> boolean(std::string_view key) const;
    std::optional<double> number(std::string_view key) const;

    /// `dictionary` gives all effective values, `storedDictionary` only the stored values.
    QJsonObject dictionary() const;
    QJsonObject storedDictionary() const;

    /// Adds `defaults` to the lowest layer. Registered defaults are never saved.
    void registerDefaults(const QJsonObject& defaults);

    /// `set` stores a value, `remove` removes a key, `apply` does both for several keys in one save. A value that is already
    /// stored is not written again and causes no signal. False if the save failed; `lastError` gives the reason. If only the
    /// last step failed, which syncs the directory, the new values are effective but may not survive a power cut. Any other
    /// failure changes nothing.
    bool set(std::string_view key, const QJsonValue& value);
    bool remove(std::string_view key);
    bool apply(const QJsonObject& values, const QStringList& removedKeys);

    /// Why the last save failed, or why the file cannot be read; empty after a successful save.
    QString lastError() const;
    /// The kind of the failure in `lastError`; `none` if `lastError` is empty.
    SettingsFile::Trouble lastTrouble() const;

    /// Calls `function` whenever `changed` is emitted with one of `keys`, until `owner` is destroyed.
    void observe(const QStringList& keys, QObject* owner, std::function<void()> function) const;
    /// Reads the file if it has changed, even if counter and watch reported no change. `changed` is emitted as usual. Main
    /// thread.
    void synchronize();

    /// Removes old temporary files of killed writers. Meant to be called after start-up.
    void sweepLeftovers();

Q_SIGNALS:
    /// This process or another one changed stored values. `keys` holds the keys whose effective value changed since the last
    /// emission, in alphabetical order. A key whose value changed back is included. `keys` is empty if no effective value
    /// changed. Emitted from the main thread's event loop, once for several writes in one turn. The first connection starts the
    /// observation.
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
