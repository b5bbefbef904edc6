// SPDX-License-Identifier: MIT
#pragma once

#include "Kestrum/Agent/LoginItemManager.h"
#include "Kestrum/Form/Card.h"

namespace kestrum {

class Row;
class Switch;

/// The section "Startup". It has the switch for launch at login, a text that explains why the switch cannot be used, and a button
/// for the desktop's own settings.
class LaunchAtLoginSection final : public Card {
    Q_OBJECT
public:
    explicit LaunchAtLoginSection(QWidget* parent = nullptr);

protected:
    void showEvent(QShowEvent* event) override;
    bool event(QEvent* event) override;

private:
    void showState();

    LoginItemManager m_manager;
    Switch* m_switch;
    Row* m_approval;
    Row* m_status;
    bool m_wasShown = false;
};

} // namespace kestrum
