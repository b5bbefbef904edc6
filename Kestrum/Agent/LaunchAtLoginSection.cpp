// SPDX-License-Identifier: MIT
#include "Kestrum/Agent/LaunchAtLoginSection.h"

#include "Kestrum/Form/PushButton.h"
#include "Kestrum/Form/Row.h"
#include "Kestrum/Form/Switch.h"
#include "KestrumShared/Text/AppLanguage.h"

#include <QAccessible>
#include <QEvent>

namespace kestrum {

LaunchAtLoginSection::LaunchAtLoginSection(QWidget* parent)
    : Card(Ground::filled, parent)
    , m_switch(new Switch)
{
    setHeading(AppLanguage::string("Startup"));
    m_switch->setObjectName(QStringLiteral("launchAtLogin"));
    // No animation: the shown state is often corrected a moment later.
    m_switch->setSlides(false);
    add(new Row(AppLanguage::string("Launch Kestrum at login"), m_switch));

    auto* open = new PushButton(AppLanguage::string("Open Login Items…"));
    m_approval = new Row(AppLanguage::string("Turned off under Allow in the Background."), open);
    m_approval->setInk(Row::Ink::secondary);
    add(m_approval);
    m_status = new Row({});
    add(m_status);

    // Do not connect `clicked`, which assistive programs do not trigger.
    connect(m_switch, &Switch::toggled, this, [this](bool isOn) {
        m_manager.setEnabled(isOn);
        // If a new block has prevented the change, the switch must return to the real state.
        showState();
    });
    connect(
        open, &PushButton::clicked, this, [] { AgentLoginItem::service().openSystemSettingsLoginItems(); });
    // A reading may tell no change and yet be the first that the process has: the switch stays invisible until then.
    for (const auto signal : { &LoginItemManager::changed, &LoginItemManager::refreshed })
        connect(&m_manager, signal, this, &LaunchAtLoginSection::showState);
    showState();
}

void LaunchAtLoginSection::showState()
{
    const auto block = LoginItemManager::block();
    m_switch->setVisible(LoginItemManager::isKnown() || block);
    m_switch->setEnabled(!block);
    m_switch->follow(m_manager.isOn());
    m_approval->setVisible(m_manager.needsApproval());
    const QString message
        = block ? LoginItemManager::message(*block) : m_manager.lastError().value_or(QString());
    const bool isNews = message != m_status->text();
    m_status->setText(message);
    m_status->setInk(block ? Row::Ink::secondary : Row::Ink::error);
    m_status->setVisible(!message.isEmpty());
    if (isNews && !message.isEmpty() && !block && isVisible()) {
        QAccessibleEvent alert(m_status, QAccessible::Alert);
        QAccessible::updateAccessibility(&alert);
    }
}

void LaunchAtLoginSection::showEvent(QShowEvent* event)
{
    Card::showEvent(event);
    if (!std::exchange(m_wasShown, true))
        m_manager.refresh();
}

bool LaunchAtLoginSection::event(QEvent* event)
{
    // The user may come back from the desktop's settings, where the login item may have changed.
    if (event->type() == QEvent::WindowActivate) {
        showState();
        m_manager.refresh();
    }
    return Card::event(event);
}

} // namespace kestrum
