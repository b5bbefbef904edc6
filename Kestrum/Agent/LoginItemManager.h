#pragma once

#include "KestrumShared/Agent/AgentLoginItem.h"

#include <QObject>
#include <QPointer>
#include <QString>
#include <optional>

namespace kestrum {

/// Reads and changes whether the agent is started at login, and turns what goes wrong into sentences for people. The disk
/// is touched on another thread, one change after the other; everything here belongs to the main thread.
class LoginItemManager final : public QObject {
    Q_OBJECT
public:
    using Status = LoginItemService::Status;
    using Block = AgentLoginItem::Block;

    /// Starts from what any manager of this process knew last.
    explicit LoginItemManager(QObject* parent = nullptr);

    Status status() const { return m_status; }
    /// What the last change failed with, in the interface language; nothing when it did not.
    const std::optional<QString>& lastError() const { return m_lastError; }

    bool isOn() const;
    bool needsApproval() const;
    /// Whether the state was read or set by any manager of this process.
    static bool isKnown();

    /// Found out anew at each call.
    static std::optional<Block> block();
    static QString message(Block block);

    /// Reads the real state; `changed` tells when it is another.
    void refresh();
    /// Switches the login item; the state is shown at once and corrected when the change has been made. Does nothing while
    /// there is a block.
    void setEnabled(bool enabled);

    /// Removes, once for all, the login item that earlier versions made for the settings application itself.
    static void unregisterLegacyMainAppOnce();

Q_SIGNALS:
    /// Of the state or of the error; also when the state has become known.
    void changed();
    /// The state was read, whether or not it was news.
    void refreshed();

private:
    void setStatus(Status status);
    /// Reads the real state for all managers to come, and for `asker` if that is still there then.
    static void read(const QPointer<LoginItemManager>& asker);
    void finish(const std::optional<QString>& message);

    Status m_status;
    std::optional<QString> m_lastError;
};

} // namespace kestrum
