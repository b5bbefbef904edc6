// SPDX-License-Identifier: MIT
#include "KestrumAgent/Bridge/PanelOffer.h"

#include "KestrumShared/Settings/Setting.h"
#include "KestrumShared/Text/AppLanguage.h"
#include "Platform/Log/Log.h"

#include <utility>

namespace kestrum {

namespace {

using Presence = PanelAddition::Presence;

/// An obstacle is something that adding would not change.
bool isOfferable(const PanelAddition::State& state)
{
    return state.presence == Presence::missing && state.obstacle.isEmpty();
}

bool isUninstalled(const PanelAddition::State& state)
{
    return state.presence == Presence::uninstalled && state.obstacle.isEmpty();
}

QString adviceToLearn(const char* command)
{
    return AppLanguage::string("To learn why, type in a terminal: %1", { QString::fromLatin1(command) });
}

DesktopNotification::Content uninstalledContent()
{
    return { AppLanguage::string("Kestrum can show its items in the panel."),
        AppLanguage::string("Its part for this panel is not installed.") + u'\n'
            + adviceToLearn("kestrumctl panel status"),
        {}, {} };
}

} // namespace

PanelOffer::PanelOffer(std::function<bool()> isNothingShown, QObject* parent)
    : QObject(parent)
    , m_isNothingShown(std::move(isNothingShown))
    , m_part(PanelAddition::ofDesktop())
{
    m_delay.setSingleShot(true);
    connect(&m_delay, &QTimer::timeout, this, &PanelOffer::lookInTurn);
    connect(&m_notification, &DesktopNotification::pressed, this, &PanelOffer::add);
}

/// The later ones are for desktops that are slow to start.
QList<std::chrono::milliseconds> PanelOffer::usualDelays()
{
    using namespace std::chrono_literals;
    return { 3s, 9s, 30s };
}

void PanelOffer::start(const QList<std::chrono::milliseconds>& delays)
{
    m_delays = delays;
    startTurn();
}

void PanelOffer::startTurn()
{
    if (!m_delays.isEmpty())
        m_delay.start(m_delays.takeFirst());
}

void PanelOffer::lookInTurn()
{
    if (m_isSettled)
        return;
    ++m_turn;
    startTurn();
    look();
}

void PanelOffer::look()
{
    if (!m_part) {
        adopt({});
        Q_EMIT looked();
        return;
    }
    // Two looks at a time might end in another order than they began.
    if (m_isLooking) {
        m_isStale = true;
        return;
    }
    m_isLooking = true;
    m_hasLooked = true;
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
    m_state = state;
    m_isSettled = false;
    if (isOfferable(state)) {
        offer();
    } else if (isUninstalled(state)) {
        tellOnce(m_part->desktop() + QStringLiteral("-uninstalled"), uninstalledContent());
    } else if (m_isNothingShown() && !state.isPending) {
        // A panel that is late is no reason to complain.
        if (m_turn > 1)
            tellOnce(QStringLiteral("nothing"),
                { AppLanguage::string("This desktop does not show the items of Kestrum."),
                    adviceToLearn("kestrumctl panel status"), {}, {} });
    } else {
        m_isSettled = true;
    }
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
    tellOnce(m_part->desktop(),
        { AppLanguage::string("Kestrum can show its items in the panel."), text,
            AppLanguage::string("Show in Panel"), (sentences << advice).join(u'\n') });
}

/// Shows the notification unless one with this key was shown before, by whatever process.
void PanelOffer::tellOnce(const QString& key, const DesktopNotification::Content& content)
{
    const QStringList before = Setting(Keys::panelOffers, QString()).value().split(u',');
    if (m_told.contains(key) || before.contains(key)) {
        m_isSettled = true;
        return;
    }
    m_told.append(key);
    m_notification.show(content, [this, key](bool isShown) {
        if (isShown) {
            remember(key);
            m_isSettled = true;
        } else {
            m_told.removeOne(key);
            m_isSettled = false;
        }
    });
}

void PanelOffer::remember(const QString& key)
{
    const Setting offers(Keys::panelOffers, QString());
    QStringList keys = offers.value().split(u',', Qt::SkipEmptyParts);
    keys.append(key);
    // What cannot be remembered is told once by each process. The store says why.
    if (!offers.set(keys.join(u',')))
        Log::info("agent", QStringLiteral("what was offered will be offered again"));
}

void PanelOffer::addTo(QMenu& menu)
{
    const auto append = [this, &menu](const QString& title, auto&& chosen) {
        menu.addAction(title, this, chosen)->setObjectName(QStringLiteral("show-in-panel"));
    };
    if (isOfferable(m_state) && m_part->concernsOtherIcons())
        append(AppLanguage::string("Show in Panel (May Widen Other Icons)"), [this] { add(); });
    else if (isOfferable(m_state))
        append(AppLanguage::string("Show in Panel"), [this] { add(); });
    else if (isUninstalled(m_state))
        append(AppLanguage::string("Show in Panel"), [this] { m_notification.show(uninstalledContent()); });
}

void PanelOffer::lookAgain()
{
    // Not before the first look of all, because the panel may still be starting; and not where it is added, because bridges ask
    // for the menu often.
    if (m_hasLooked && !m_isLooking && m_state.presence != Presence::added)
        look();
}

void PanelOffer::add()
{
    m_part->add([this](const Result<PanelAddition::Effect>& effect) {
        if (!effect) {
            Log::warning("agent",
                QStringLiteral("the items cannot be added to the panel: %1")
                    .arg(Log::escaped(effect.failureText())));
            m_notification.show({ AppLanguage::string("The items cannot be shown in the panel."),
                adviceToLearn("kestrumctl panel add"), {}, {} });
        } else if (*effect == PanelAddition::Effect::atNextLogin) {
            // What takes effect at once is seen, and needs no words.
            m_notification.show(
                { AppLanguage::string("From the next login on, the items are in the panel."), {}, {}, {} });
        }
        look();
    });
}

} // namespace kestrum
