#pragma once

#include "Platform/Store/SettingsFile.h"

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

/// A named settings domain: one JSON file in "$XDG_CONFIG_HOME/kestrum", shared by all processes that open
/// it.
///
/// A key is looked up in the stored values, then in the administrator's ("$XDG_CONFIG_DIRS/kestrum", read
/// when the domain is opened), then in the registered defaults of this process. Values are JSON values. Typed
/// reads tell "absent" and "of another type" alike as nothing; `object` tells them apart. Reads see every
/// save that any process finished before, and need no system call while nothing was saved. Writes are on disk
/// when they return. Reads and writes may be made from any thread; registration, observation and signals
/// belong to the main thread.
class UserDefaults : public QObject {
    Q_OBJECT
public:
    /// The process's own domain, named after its main bundle's identifier. Lives until the process ends.
    static UserDefaults& standard();

    /// Opens the domain `suiteName`; the caller owns it. Null when it is refused: the name is empty, no file
    /// can be made of it, or it is the process's own domain.
    static std::unique_ptr<UserDefaults> withSuiteName(const QString& suiteName);

    ~UserDefaults() override;

    QString name() const;
    QString filePath() const;

    /// The value in effect; `QJsonValue::Undefined` when no layer has the key.
    QJsonValue object(std::string_view key) const;
    /// The value in effect when it is a text / a truth value / a number, else nothing.
    std::optional<QString> string(std::string_view key) const;
    std::optional<bool> boolean(std::string_view key) const;
    std::optional<double> number(std::string_view key) const;

    /// All values in effect; only the stored ones.
    QJsonObject dictionary() const;
    QJsonObject storedDictionary() const;

    /// Adds `defaults` to the layer below all others; it is never saved.
    void registerDefaults(const QJsonObject& defaults);

    /// Stores, removes, or does several of both in one save. An equal stored value is not written again and
    /// tells nobody. False when the save failed, for the reason in `lastError`: nothing changed, but where only
    /// the last step failed, which makes the new file outlast a power cut, the new values are in effect.
    bool set(std::string_view key, const QJsonValue& value);
    bool remove(std::string_view key);
    bool apply(const QJsonObject& values, const QStringList& removedKeys);

    /// Why the last save failed, or why the file cannot be read; empty after a save that succeeded.
    QString lastError() const;
    /// The kind of reason that it has; none where it is empty.
    SettingsFile::Trouble lastTrouble() const;

    /// Calls `function` after each notice that names one of `keys`, until `owner` is destroyed.
    void observe(const QStringList& keys, QObject* owner, std::function<void()> function) const;
    /// Reads the file if it is another one by now, whatever the counter and the watches say. Notices follow as always.
    void synchronize();

    /// Removes what killed writers left behind; meant for after start-up.
    void sweepLeftovers();

Q_SIGNALS:
    /// Stored values changed, by this process or another. `keys` are those whose value in effect changed since the last
    /// notice, in alphabetical order: also one that has its old value again, and none where other layers hide or equal what
    /// changed. Sent from the event loop of the main thread, so that several writes of one turn are one notice.
    /// Observation begins with the first connection.
    void changed(const QStringList& keys);
    /// A save failed, and the first one after such a failure succeeded. Sent likewise from the event loop.
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
