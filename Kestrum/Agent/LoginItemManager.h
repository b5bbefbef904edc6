// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Agent/AgentLoginItem.h"

#include <QObject>
#include <QPointer>
#include <QString>
#include <optional>

namespace kestrum {

/// Reads and changes whether the agent is started at login, and translates errors into messages for the user. Another thread
/// accesses the disk and makes one change after the other. Use this class on the main thread only.
class LoginItemManager final : public QObject {
    Q_OBJECT
public:
    using Status = LoginItemService::Status;
    using Block = AgentLoginItem::Block;

    /// Starts with the state that any manager of this process read or set last.
    explicit LoginItemManager(QObject* parent = nullptr);

    Status status() const { return m_status; }
    /// The translated error message of the last change; none if the change succeeded.
    const std::optional<QString>& lastError() const { return m_lastError; }

    bool isOn() const;
    bool needsApproval() const;
    /// Whether any manager of this process has read or set the state.
    static bool isKnown();

    /// Determines why the login item cannot be switched now; returns none if it can be switched.
    static std::optional<Block> block();
    static QString message(Block block);

    /// Reads the real state; emits `changed` if it differs from `status`.
    void refresh();
    /// Switches the login item. `status` returns the choice at once; after the change the real state is read. While `block`
    /// returns a reason, this function does nothing.
    void setEnabled(bool enabled);

    /// Removes, once only, the login item that earlier versions made for the settings application itself.
    static void unregisterLegacyMainAppOnce();

Q_SIGNALS:
    /// The state or the error has changed, or the state has become known.
    void changed();
    /// The state was read; it may be the same as before.
    void refreshed();

private:
    void setStatus(Status status);
    /// Reads the real state and stores it for later managers. If `asker` still exists after the read, `asker` gets the state too.
    static void read(const QPointer<LoginItemManager>& asker);
    void finish(const std::optional<QString>& message);

    Status m_status;
    std::optional<QString> m_lastError;
};

} // namespace kestrum
