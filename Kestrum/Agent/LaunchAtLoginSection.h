#pragma once

#include "Kestrum/Form/Card.h"

namespace kestrum {

class LoginItemManager;

/// The section "Startup": the switch for launch at login, why it cannot be used, and the way to the desktop's own settings.
class LaunchAtLoginSection final : public QWidget {
    Q_OBJECT
public:
    explicit LaunchAtLoginSection(QWidget* parent = nullptr);

private:
    LoginItemManager* m_manager;
};

} // namespace kestrum
