// SPDX-License-Identifier: MIT
#include "KestrumAgent/Popover/PopoverController.h"

#include "KestrumAgent/Panel/PanelStrip.h"
#include "KestrumAgent/Panel/PopoverStand.h"
#include "KestrumAgent/Popover/PopoverSource.h"
#include "KestrumAgent/Popover/PopoverWindow.h"
#include "KestrumShared/Settings/Setting.h"
#include "Platform/Desktop/SessionPause.h"
#include "Platform/Desktop/Translucency.h"

#include <QFontInfo>
#include <QGuiApplication>
#include <utility>

namespace kestrum {

namespace {

/// How long the pointer may rest on an item before a click.
constexpr std::chrono::seconds validLook { 10 };

ColourScheme chosenScheme()
{
    switch (Setting(Keys::popoverAppearance).value()) {
    case PopoverAppearance::light:
        return ColourScheme::light;
    case PopoverAppearance::dark:
        return ColourScheme::dark;
    case PopoverAppearance::system:
        break;
    }
    return SystemAppearance::shared().scheme();
}

} // namespace

PopoverController::PopoverController(PanelStrip& strip, PopoverSource& source, QObject* parent)
    : QObject(parent)
    , m_strip(strip)
    , m_source(source)
{
    connect(&m_strip, &PanelStrip::itemClicked, this, &PopoverController::toggle);
    connect(&m_strip, &PanelStrip::itemApproached, &m_source, &PopoverSource::approached);
    connect(&m_strip, &PanelStrip::itemApproached, this, &PopoverController::prepare);
    // The settings of the items also change what a popover shows, and where it stands.
    connect(&m_strip, &PanelStrip::rebuilt, this, &PopoverController::refresh);
    connect(&m_source, &PopoverSource::changed, this, &PopoverController::refresh);
    connect(&SystemAppearance::shared(), &SystemAppearance::changed, this, &PopoverController::refresh);
    SharedSettings::store().observe(
        Keys::names(Keys::popoverAppearance, Keys::popoverBackground, Keys::temperatureUnit), this,
        [this] { refresh(); });
}

PopoverController::PopoverController(PanelStrip& strip, PopoverSource& source, std::chrono::milliseconds wait)
    : PopoverController(strip, source)
{
    m_wait = wait;
}

PopoverController::~PopoverController()
{
    close();
}

PanelEnvironment PopoverController::environment(bool isTranslucent)
{
    PanelEnvironment environment;
    environment.scheme = chosenScheme();
    environment.direction = QGuiApplication::layoutDirection();
    environment.font = PanelEnvironment::systemFont(PopoverPanel::rowFontSize);
    environment.background
        = isTranslucent ? Setting(Keys::popoverBackground).value() : PopoverBackground::opaque;
    return environment;
}

void PopoverController::toggle(MonitorSection section)
{
    if (m_home)
        toggleAt(*m_home, section);
}

void PopoverController::toggleAt(PopoverStand& stand, MonitorSection section)
{
    if (m_section == section && m_stand == &stand)
        close();
    else
        open(section, stand);
}

/// The strip that the open popover belongs to.
PanelStrip& PopoverController::strip() const
{
    PanelStrip* own = m_stand ? m_stand->strip() : nullptr;
    return own ? *own : m_strip;
}

/// Opens the section that was seen last, or the first one; or closes the open popover.
void PopoverController::toggleSeen()
{
    if (m_section) {
        close();
        return;
    }
    const QList<MonitorSection> sections = m_strip.items().sections();
    if (m_lastSeen && sections.contains(*m_lastSeen))
        open(*m_lastSeen);
    else if (!sections.isEmpty())
        open(sections.last());
}

void PopoverController::setHome(PopoverStand* home)
{
    if (m_home) {
        leave(*m_home);
        m_home->disconnect(this);
    }
    m_home = home;
    if (m_home) {
        follow(*m_home);
        connect(m_home, &PopoverStand::toggleRequested, this, &PopoverController::toggleSeen);
        // Much later, nobody would know why it opens and takes the keyboard.
        if (const auto awaited = std::exchange(m_awaited, std::nullopt);
            awaited && !m_awaitedUntil.hasExpired())
            open(*awaited);
    }
}

void PopoverController::follow(PopoverStand& stand)
{
    connect(&stand, &PopoverStand::dismissed, this, [this, &stand] { leave(stand); });
    connect(&stand, &PopoverStand::roomChanged, this, &PopoverController::refresh);
}

void PopoverController::leave(PopoverStand& stand)
{
    if (m_stand == &stand)
        close();
}

void PopoverController::open(MonitorSection section)
{
    if (m_home) {
        open(section, *m_home);
    } else {
        m_awaited = section;
        m_awaitedUntil.setRemainingTime(m_wait);
    }
}

void PopoverController::open(MonitorSection section, PopoverStand& stand)
{
    if (!m_strip.items().item(section))
        return;
    if (m_stand != &stand) {
        close();
        m_stand = &stand;
        m_stand->prepare();
        if (m_stand != m_home)
            follow(stand);
        // It may be rebuilt after the strip that all share.
        if (&strip() != &m_strip)
            m_stripConnection = connect(&strip(), &PanelStrip::rebuilt, this, &PopoverController::refresh);
    } else if (m_section == section) {
        m_stand->takeKeyboard();
        return;
    }
    const bool isTurned = m_section.has_value();
    m_section = section;
    m_lastSeen = section;
    m_source.opened(section);
    if (!m_window) {
        m_isTranslucent = isTranslucencyShown();
        m_window = std::make_unique<PopoverWindow>();
        m_window->setAttribute(Qt::WA_TranslucentBackground, m_isTranslucent);
        connect(m_window.get(), &PopoverWindow::acted, this, &PopoverController::act);
        connect(m_window.get(), &PopoverWindow::closeRequested, this, &PopoverController::close);
        connect(m_window.get(), &PopoverWindow::neighbourRequested, this, &PopoverController::stepBy);
        connect(m_window.get(), &PopoverWindow::menuRequested, this, &PopoverController::requestMenu);
        connect(m_window.get(), &PopoverWindow::copied, this,
            [this](const QString& text) { m_stand->copy(text); });
        connect(m_window.get(), &PopoverWindow::listHeld, &m_source, &PopoverSource::setListHeld);
        connect(m_window.get(), &PopoverWindow::tipRequested, this,
            [this](QPoint at, const QString& text, const QRect& area) {
                m_stand->showTip(*m_window, at, text, area);
            });
        lookForSystemMonitor();
        m_look.setRemainingTime(0); // what is installed or chosen next is seen at the next opening
        if (!m_pause) {
            m_pause = std::make_unique<SessionPause>();
            connect(m_pause.get(), &SessionPause::begun, this, &PopoverController::close);
        }
        m_pause->tryAgain();
    }
    const bool isPinned = m_state.isPinned;
    m_state = {};
    m_state.isPinned = isPinned;
    m_state.hasSystemMonitor = m_systemMonitor.isThere();
    m_state.hasTabs = m_stand->isWithoutStrip();
    m_state.hasPin = m_stand->canPin();
    m_window->startAnew();
    if (isTurned)
        m_stand->showTip(*m_window, {}, {}, {}); // it explained the section before
    strip().setOpened(section);
    refresh();
    if (isTurned)
        m_stand->takeKeyboard();
}

/// Does what would hold up the opening: when the pointer comes to an item, the click is still to come.
void PopoverController::prepare(MonitorSection section)
{
    if (m_section)
        return;
    lookForSystemMonitor();
    // The first text in a font takes the toolkit some ten milliseconds.
    if (std::exchange(m_hasFonts, true))
        return;
    const PanelEnvironment look = environment(false);
    (void)PopoverLayout(
        PopoverPanel::of(section, m_source.readings(), m_state, SharedSettings::store().snapshot(), look),
        look);
}

void PopoverController::lookForSystemMonitor()
{
    if (!m_look.hasExpired())
        return;
    m_systemMonitor.look();
    m_look.setRemainingTime(validLook);
}

void PopoverController::close()
{
    m_awaited.reset();
    if (!m_section)
        return;
    m_section.reset();
    m_state = {};
    strip().setOpened(std::nullopt);
    PopoverStand& stand = *std::exchange(m_stand, nullptr);
    disconnect(m_stripConnection);
    if (&stand != m_home)
        stand.disconnect(this);
    stand.hide();
    // The call may come from one of the window's own events. Until it is deleted, the window may get more of them.
    m_window->disconnect(this);
    m_window->disconnect(&m_source);
    m_window.release()->deleteLater();
    m_source.setListHeld(false);
    m_source.closed();
}

/// Shows the present readings by the present settings, at the place of the section's item. Closes if the item is gone: of
/// that, the place for the window may hear before anybody else.
void PopoverController::refresh()
{
    if (!m_section)
        return;
    const PanelStrip& strip = this->strip();
    const PanelStrip::Item* item = strip.items().item(*m_section);
    if (!item) {
        close();
        return;
    }
    if (m_isTranslucent && !isTranslucencyShown()) {
        // Only a new window can be opaque.
        PopoverStand& stand = *m_stand;
        const MonitorSection section = *m_section;
        close();
        open(section, stand);
        return;
    }
    const PanelEnvironment look = environment(m_isTranslucent);
    m_window->setShadowRoom(m_isTranslucent ? m_stand->shadowRoom() : QMargins());
    const QRegion changed = m_window->setContent(
        PopoverPanel::of(*m_section, m_source.readings(), m_state, SharedSettings::store().snapshot(), look),
        look, PopoverWindow::scaleFor(QFontInfo(QGuiApplication::font()).pixelSize()));
    m_stand->show(*m_window, m_window->sizeFor(m_stand->room()), strip.place(*item).toAlignedRect());
    // Paints at once: `update` would wake the process a second time for each sample.
    m_window->repaint(changed);
}

/// Turns to the item beside the open one, and from the last to the first. The items stand in the same order in every
/// language; the tabs of a popover without a strip follow the language.
void PopoverController::stepBy(int step)
{
    const QList<MonitorSection> sections = m_strip.items().sections();
    const bool isMirrored = m_state.hasTabs && QGuiApplication::layoutDirection() == Qt::RightToLeft;
    const qsizetype now = sections.indexOf(*m_section) + (isMirrored ? -step : step);
    open(sections[(now + sections.size()) % sections.size()], *m_stand);
}

void PopoverController::requestMenu()
{
    // A status icon has the menu itself, where the desktop puts it.
    if (m_stand->isWithoutStrip())
        return;
    PanelStrip& strip = this->strip();
    const PanelStrip::Item* item = strip.items().item(*m_section);
    if (!item)
        return; // it has gone, and the strip tells of that soon
    const QPoint at(int(strip.place(*item).center().x()), strip.height());
    if (!m_state.isPinned)
        close();
    Q_EMIT strip.menuRequested(at);
}

void PopoverController::act(const PanelAction& action)
{
    using Kind = PanelAction::Kind;
    switch (action.kind) {
    case Kind::none:
        return;
    case Kind::togglePin:
        if (!m_state.hasPin)
            return;
        m_state.isPinned = !m_state.isPinned;
        m_stand->setPinned(m_state.isPinned);
        break;
    case Kind::openSettings:
        if (!m_state.isPinned)
            close();
        Q_EMIT settingsRequested();
        return;
    case Kind::openSystemMonitor:
        if (!m_state.hasSystemMonitor)
            return;
        if (!m_state.isPinned)
            close();
        Q_EMIT systemMonitorRequested();
        return;
    case Kind::resetHighest:
        m_source.resetHighest();
        break;
    case Kind::toggleDevice:
        if (!m_state.openDevices.removeOne(action.argument))
            m_state.openDevices.append(action.argument);
        break;
    case Kind::togglePowerHelp:
        m_state.explainsPower = !m_state.explainsPower;
        break;
    case Kind::copyText:
        m_stand->copy(action.argument);
        return;
    case Kind::showSection:
        if (const auto section = fromRawValue<MonitorSection>(action.argument))
            open(*section, *m_stand);
        return;
    }
    refresh();
}

} // namespace kestrum
