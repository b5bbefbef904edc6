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
/// A key is looked up in the stored values, then in the administrator's ("$XDG_CONFIG_DIRS/kestrum", read when the domain is
/// opened), then in the registered defaults of this process. Values are JSON values. Typed reads give nothing for an absent
/// value and for one of another type; `object` distinguishes these. Reads see every save that any process has finished, and
/// need no system call while nothing was saved. Writes are on disk when they return. Reads and writes: any thread.
/// Registration, observation and signals: main thread.
class UserDefaults : public QObject {
    Q_OBJECT
public:
    /// The process's own domain, named after its main bundle's identifier. Lives until the process ends.
    static UserDefaults& standard();

    /// Opens the domain `suiteName`; the caller owns it. Null if the name is empty, makes no file name, or is the process's own
    /// domain.
    static std::unique_ptr<UserDefaults> withSuiteName(const QString& suiteName);

    ~UserDefaults() override;

    QString name() const;
    QString filePath() const;

    /// All effective values at this moment, for reading several of them at the cost of one look-up.
    SettingsSnapshot snapshot() const;
    /// The effective value; `QJsonValue::Undefined` if no layer has the key.
    QJsonValue object(std::string_view key) const;
    /// The effective value if it is a text, a truth value or a number; else nothing.
    std::optional<QString> string(std::string_view key) const;
    std::optional<bool> boolean(std::string_view key) const;
    std::optional<double> number(std::string_view key) const;

    /// All effective values; only the stored ones.
    QJsonObject dictionary() const;
    QJsonObject storedDictionary() const;

    /// Adds `defaults` to the lowest layer. They are never saved.
    void registerDefaults(const QJsonObject& defaults);

    /// Stores, removes, or does several of both in one save. An equal stored value is not written again and notifies nobody.
    /// False if the save failed; `lastError` gives the reason. Then nothing changed, unless only the last step failed: the
    /// values are effective but may not survive a power cut.
    bool set(std::string_view key, const QJsonValue& value);
    bool remove(std::string_view key);
    bool apply(const QJsonObject& values, const QStringList& removedKeys);

    /// Why the last save failed, or why the file cannot be read; empty after a successful save.
    QString lastError() const;
    /// The kind of `lastError`; none if it is empty.
    SettingsFile::Trouble lastTrouble() const;

    /// Calls `function` after each `changed` that names one of `keys`, until `owner` is destroyed.
    void observe(const QStringList& keys, QObject* owner, std::function<void()> function) const;
    /// Reads the file if it has changed, whatever the counter and the watches say. `changed` follows as always.
    void synchronize();

    /// Removes temporary files of killed writers. Meant for after start-up.
    void sweepLeftovers();

Q_SIGNALS:
    /// Stored values changed, by this process or another. `keys` are those whose effective value changed since the last
    /// emission, in alphabetical order. A key that changed back is included. `keys` is empty if other layers hide or equal the
    /// changes. Emitted from the event loop of the main thread, once for several writes in one turn. Observation begins with
    /// the first connection.
    void changed(const QStringList& keys);
    /// A save failed; the first save after a failure succeeded. Emitted from the event loop.
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
