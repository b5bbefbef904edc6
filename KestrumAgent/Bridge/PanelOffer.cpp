// SPDX-License-Identifier: MIT
#include "KestrumAgent/Bridge/PanelOffer.h"

#include "KestrumShared/Settings/Setting.h"
#include "KestrumShared/Text/AppLanguage.h"
#include "Platform/Log/Log.h"

#include <chrono>
#include <utility>

namespace kestrum {

namespace {

constexpr std::chrono::seconds panelStart { 3 };

QString entryTitle()
{
    return AppLanguage::string("Show in Panel");
}

} // namespace

PanelOffer::PanelOffer(std::function<bool()> isNothingShown, QObject* parent)
    : QObject(parent)
    , m_isNothingShown(std::move(isNothingShown))
    , m_part(PanelAddition::ofDesktop())
{
    m_delay.setSingleShot(true);
    m_delay.setInterval(panelStart);
    connect(&m_delay, &QTimer::timeout, this, &PanelOffer::look);
    connect(&m_notification, &DesktopNotification::pressed, this, &PanelOffer::add);
}

void PanelOffer::look()
{
    if (!m_part)
        return;
    // Two looks at a time might end in another order than they began.
    if (m_isLooking) {
        m_isStale = true;
        return;
    }
    m_isLooking = true;
    m_part->look([this](const Result<PanelAddition::State>& state) {
        m_isLooking = false;
        if (std::exchange(m_isStale, false)) {
            look();
            return;
        }
        if (state)
            adopt(*state);
        else
            Log::info("agent",
                QStringLiteral("the desktop does not tell about its panel: %1")
                    .arg(Log::escaped(state.failureText())));
        Q_EMIT looked();
    });
}

void PanelOffer::adopt(const PanelAddition::State& state)
{
    // With an obstacle, adding would not help.
    m_isMissing = state.presence == PanelAddition::Presence::missing && state.obstacle.isEmpty();
    if (!m_isMissing)
        return;
    const Setting offers(Keys::panelOffers, QString());
    QStringList desktops = offers.value().split(u',', Qt::SkipEmptyParts);
    if (desktops.contains(m_part->desktop()))
        return;
    desktops.append(m_part->desktop());
    // An offer that cannot be remembered would come back at every start.
    if (offers.set(desktops.join(u',')))
        offer();
}

void PanelOffer::offer()
{
    const QString advice = AppLanguage::string(
        "To show them there, type in a terminal: %1", { QStringLiteral("kestrumctl panel add") });
    QStringList sentences;
    if (m_isNothingShown())
        sentences.append(AppLanguage::string("At present, this desktop does not show them at all."));
    if (m_part->concernsOtherIcons())
        sentences.append(AppLanguage::string("All status icons will then be as wide as they need to be."));
    const QString text = sentences.join(u' ');
    m_notification.show({ AppLanguage::string("Kestrum can show its items in the panel."), text, entryTitle(),
        (sentences << advice).join(u'\n') });
}

void PanelOffer::addTo(QMenu& menu)
{
    if (!m_isMissing)
        return;
    menu.addAction(entryTitle(), this, &PanelOffer::add)->setObjectName(QStringLiteral("show-in-panel"));
    // Somebody else may have added it meanwhile: then the menu does not have the entry the next time.
    look();
}

void PanelOffer::add()
{
    m_part->add([this](const Result<PanelAddition::Effect>& effect) {
        if (!effect) {
            Log::warning("agent",
                QStringLiteral("the items cannot be added to the panel: %1")
                    .arg(Log::escaped(effect.failureText())));
            tell(AppLanguage::string("The items cannot be shown in the panel."), effect.failureText());
        } else if (*effect == PanelAddition::Effect::atNextLogin) {
            tell(AppLanguage::string("From the next login on, the items are in the panel."));
        }
        look();
    });
}

/// What takes effect at once is seen, and needs no words.
void PanelOffer::tell(const QString& sentence, const QString& reason)
{
    m_notification.show({ sentence, reason, {}, {} });
}

} // namespace kestrum
