#pragma once

#include "Platform/LoginItemService.h"

#include <QObject>
#include <QString>
#include <optional>

namespace kestrum {

/// Reads and changes whether the agent is started at login, and turns what goes wrong into sentences for people. The disk
/// is touched on other threads; everything here belongs to the main thread.
class LoginItemManager final : public QObject {
    Q_OBJECT
public:
    /// Why the feature cannot be used.
    enum class Block { suppressed, translocated, incomplete };

    explicit LoginItemManager(QObject* parent = nullptr);

    LoginItemService::Status status() const { return m_status; }
    /// What the last change failed with, in the interface language; nothing when it did not.
    const std::optional<QString>& lastError() const { return m_lastError; }

    bool isOn() const;
    bool needsApproval() const;
    /// Whether the state was read or set by any manager of this process.
    static bool isKnown();

    /// Found out anew at each call.
    static std::optional<Block> block();
    static QString message(Block block);

    /// Reads the real state; `changed` tells when it is there.
    void refresh();
    /// Switches the login item; the state is shown at once and corrected when the change has been made.
    void setEnabled(bool enabled);

    /// Removes, once for all, the login item that earlier versions made for the settings application itself.
    static void unregisterLegacyMainAppOnce();

Q_SIGNALS:
    void changed();

private:
    void setStatus(LoginItemService::Status status);

    LoginItemService::Status m_status;
    std::optional<QString> m_lastError;
};

} // namespace kestrum
