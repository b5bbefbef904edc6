// SPDX-License-Identifier: MIT
#include "KestrumAgent/Agent.h"

#include "KestrumAgent/Bridge/PanelOffer.h"
#include "KestrumAgent/Bridge/PanelService.h"
#include "KestrumAgent/Bridge/PlacedPopover.h"
#include "KestrumAgent/Panel/PanelChannels.h"
#include "KestrumAgent/Panel/PanelStrip.h"
#include "KestrumAgent/Popover/LiveSource.h"
#include "KestrumAgent/Popover/PopoverController.h"
#include "KestrumAgent/Readings/Sampler.h"
#include "KestrumAgent/Updates/UpdateChecker.h"
#include "KestrumAgent/Updates/UpdateNotice.h"
#include "KestrumShared/Agent/PanelContract.h"
#include "KestrumShared/Settings/MeterSettings.h"
#include "KestrumShared/Settings/PopoverRequest.h"
#include "KestrumShared/Settings/Setting.h"
#include "KestrumShared/Text/AppLanguage.h"
#include "Platform/Bundle/Bundle.h"
#include "Platform/Desktop/ToolkitTexts.h"
#include "Platform/Desktop/WindowActivation.h"
#include "Platform/Log/Log.h"
#include "Platform/Processes/Workspace.h"

#include <QCoreApplication>
#include <QDir>
#include <QGuiApplication>
#include <QInputEvent>
#include <QTimer>
#include <chrono>
#include <utility>

namespace kestrum {

using SharedSettings::Signal;

namespace {

/// The resolution of processes' start times, in seconds.
constexpr double startTimeStep = 0.01;
/// How long this program and the one after it both hear requests: longer than `startTimeStep`, and than a request is under way.
constexpr std::chrono::milliseconds overlap { 50 };

double secondsSince1970()
{
    return std::chrono::duration<double>(std::chrono::system_clock::now().time_since_epoch()).count();
}

/// The path of the settings application's bundle. The agent's bundle lies in it, at
/// "Contents/Library/LoginItems/KestrumAgent.app".
QString outerBundle()
{
    return QDir::cleanPath(Bundle::main().path() + QStringLiteral("/../../../.."));
}

} // namespace

Agent::Agent(QObject* parent)
    : QObject(parent)
    , m_sampler(new Sampler(this))
    , m_updates(new UpdateChecker(this))
    , m_updateNotice(new UpdateNotice(this))
    , m_panelOffer(new PanelOffer(
          [this] { return m_service && m_service->shownBy() == PanelContract::nothing; }, this))
{
    // The outcome is shown in a notification: a user who requested the check in the settings window does not see the menu.
    connect(m_updates, &UpdateChecker::finished, m_updateNotice, &UpdateNotice::notify);
    connect(&m_menu, &QMenu::aboutToShow, this, [this] {
        fillMenu();
        m_panelOffer->lookAgain();
    });
    // An entry must not move under the pointer, so a menu that is open stays as it is.
    connect(m_panelOffer, &PanelOffer::looked, this, [this] {
        if (m_menu.actions().first()->associatedObjects().size() == 1)
            fillMenu();
    });
    // Logs an exit that the toolkit causes, for example at the end of the session.
    connect(QCoreApplication::instance(), &QCoreApplication::aboutToQuit, this,
        [this] { logEnd(QStringLiteral("the desktop or the toolkit wants it to")); });
    fillMenu();
}

// The members are destroyed in reverse order, so the popovers go before the channel, and the channel before its strip.
Agent::~Agent() = default;

void Agent::start(std::optional<double> launched)
{
    UserDefaults& store = SharedSettings::store();
    store.registerDefaults(SharedSettings::factoryDefaults());
    MeterSettings::migrateAccents();

    // The observer is registered before the settings are read for the first time, so that no change is missed.
    store.observe(
        MeterSettings::itemKeys() + Keys::names(Keys::refreshInterval), this, [this] { adoptSettings(); });
    adoptLanguage();
    // Made before the first sample, which is kept for the popovers' graphs.
    m_popoverSource = std::make_unique<LiveSource>(*m_sampler);
    m_sampler->adoptSettings();
    m_strip = std::make_unique<PanelStrip>(m_sampler->readings());
    m_channels = std::make_unique<PanelChannels>(*m_strip, m_menu);
    for (const auto signal : { &Sampler::sampled, &Sampler::completed }) {
        connect(m_sampler, signal, m_strip.get(), [this] {
            if (!m_isAdopting)
                m_strip->redraw();
        });
    }
    // Presses in any window of ours may be followed by a program's start.
    QCoreApplication::instance()->installEventFilter(this);
    m_popovers = std::make_unique<PopoverController>(*m_strip, *m_popoverSource);
    m_service = std::make_unique<PanelService>(*m_strip, *m_popovers, m_menu);
    // After an act in a panel's own popover, only the panel can get a token for the window.
    connect(m_popovers.get(), &PopoverController::settingsRequested, this, [this] {
        if (!m_service->requestChoice(QStringLiteral("settings")))
            openSettings();
    });
    connect(m_popovers.get(), &PopoverController::systemMonitorRequested, this, [this] {
        if (!m_service->requestChoice(PanelService::systemMonitorAction))
            m_popovers->systemMonitor().open(activationToken());
    });
    connect(m_service.get(), &PanelService::systemMonitorChosen, this,
        [this] { m_popovers->systemMonitor().open(activationToken()); });
    m_placedPopover = std::make_unique<PlacedPopover>(*m_strip, *m_popovers);
    connect(m_service.get(), &PanelService::popoverWanted, this,
        [this](MonitorSection section, const QRect& place, const QByteArray& token) {
            m_placedPopover->show(section, place, token);
        });
    // What a bridge shows is not shown a second time.
    connect(m_service.get(), &PanelService::usedChanged, m_channels.get(),
        [this] { m_channels->setBridged(m_service->isUsed()); });
    // What comes by a command does not come again with the desktop.
    connect(m_service.get(), &PanelService::attached, this, [this](const QString& host) {
        if (host != PanelContract::filesHost)
            rememberBridge(host);
    });
    connect(m_service.get(), &PanelService::detached, this, [this](const QString& host) {
        if (host == PanelContract::filesHost)
            return;
        if (Setting(Keys::panelBridge, QString()).value() == host)
            rememberBridge({});
        m_panelOffer->forget();
    });
    // Another desktop may have been chosen, or the bridge's package removed: the next start does not wait again.
    connect(m_channels.get(), &PanelChannels::bridgeMissed, this, [this] { rememberBridge({}); });
    connect(m_service.get(), &PanelService::settled, m_channels.get(), [this](bool isOnBus) {
        if (!isOnBus)
            m_channels->expectNoBridge();
    });
    connect(m_channels.get(), &PanelChannels::standChanged, this, &Agent::useStand);
    connect(m_channels.get(), &PanelChannels::itemClicked, m_popovers.get(),
        [this](MonitorSection section, PopoverStand* stand) { m_popovers->toggleAt(*stand, section); });
    connect(m_channels.get(), &PanelChannels::standLeft, m_popovers.get(),
        [this](PopoverStand* stand) { m_popovers->leave(*stand); });
    m_channels->start(!Setting(Keys::panelBridge, QString()).value().isEmpty());
    m_service->start();

    // The signal does not say which settings changed, so the whole store is read again.
    m_signals.listen(Signal::settings, [&store] { store.synchronize(); });
    m_signals.listen(Signal::quitAgent, [this] { leave(QStringLiteral("it was asked to quit")); });
    // If signals cannot pass between programs, the agent is switched off only by this setting. The agent ends only when the
    // setting changes, so a user can start it by hand while it is switched off.
    Setting(Keys::agentEnabled).observe(this, [this](bool isEnabled) {
        if (!isEnabled)
            leave(QStringLiteral("it was switched off in the settings"));
    });
    for (const auto& request : allCases<PopoverRequest>())
        m_signals.listen(notificationName(request.value), [this, asked = request.value] { obey(asked); });
    m_signals.listen(Signal::checkForUpdates, [this] { m_updates->check(); });
    m_updates->start();
    m_panelOffer->start();
    if (launched)
        doWhatWasAskedSince(*launched);
    store.sweepLeftovers();
}

void Agent::obey(PopoverRequest request)
{
    const auto section = fromRawValue<MonitorSection>(rawValue(request));
    if (!section)
        m_popovers->close();
    else if (!m_service->requestPopover(*section))
        m_popovers->open(*section);
}

void Agent::useStand(PopoverStand* stand)
{
    m_popovers->setHome(stand);
    m_service->setOwnWay(m_channels->shownBy());
}

/// Stores which host shows the items, so that the next start gives its bridge time to come. Empty: none does.
void Agent::rememberBridge(const QString& host)
{
    if (host.isEmpty())
        SharedSettings::store().remove(Keys::panelBridge.name);
    else
        Setting(Keys::panelBridge, QString()).set(host);
}

void Agent::doWhatWasAskedSince(double launched)
{
    // A request with a time in the future was posted while the clock was wrong. The request is ignored: otherwise every
    // agent that starts before that time would obey it.
    const auto askedSince = [](const QString& name, double time) {
        const auto asked = NotificationCentre::lastPost(name);
        return asked >= time && *asked <= secondsSince1970() ? asked : std::nullopt;
    };
    const auto wasAskedSince = [&askedSince](Signal signal, double time) {
        return askedSince(SharedSettings::name(signal), time).has_value();
    };
    // Because of the resolution of start times, a request may be from just before the start. For a check, this is harmless.
    if (wasAskedSince(Signal::checkForUpdates, launched))
        m_updates->check();
    // Each popover that was asked for replaces the one before.
    std::optional<double> youngest;
    std::optional<PopoverRequest> last;
    for (const auto& request : allCases<PopoverRequest>()) {
        if (const auto asked = askedSince(notificationName(request.value), launched); asked > youngest) {
            youngest = asked;
            last = request.value;
        }
    }
    if (last)
        obey(*last);
    // A request to quit from before the start was meant for the previous agent, so it must not end this one.
    if (wasAskedSince(Signal::quitAgent, launched + startTimeStep))
        QTimer::singleShot(0, this, [this] { leave(QStringLiteral("it was asked to quit as it began")); });
}

void Agent::leave(const QString& reason)
{
    if (std::exchange(m_madeWaySince, std::nullopt))
        m_isLeaving = false; // the reason is another one now
    logEnd(reason);
    QCoreApplication::quit();
}

void Agent::makeWay(const QString& reason)
{
    if (m_isLeaving)
        return;
    logEnd(reason);
    m_madeWaySince = secondsSince1970();
    QTimer::singleShot(overlap, Qt::PreciseTimer, this, [] { QCoreApplication::quit(); });
}

/// Logs only the first reason, which is the cause of the exit.
void Agent::logEnd(const QString& reason)
{
    if (!std::exchange(m_isLeaving, true))
        Log::info("agent", QStringLiteral("the agent ends: %1").arg(reason));
}

/// Updates Qt's texts and the layout direction, because Qt caches both. The program's own texts are looked up each time they
/// are shown.
void Agent::adoptLanguage()
{
    const QString code = AppLanguage::code();
    if (code == std::exchange(m_language, code))
        return;
    AppLanguage::applyChoiceToProcessDefaults();
    ToolkitTexts::install();
    QGuiApplication::setLayoutDirection(ToolkitTexts::locale(code).textDirection());
}

void Agent::adoptSettings()
{
    adoptLanguage();
    m_isAdopting = true;
    m_sampler->adoptSettings();
    m_isAdopting = false;
    m_strip->rebuild();
}

/// Filters nothing. Stores the time of the last input event for the activation token of the settings application.
bool Agent::eventFilter(QObject* watched, QEvent* event)
{
    if (event->isInputEvent() && watched->isWidgetType())
        m_lastAct = quint32(static_cast<const QInputEvent*>(event)->timestamp());
    return QObject::eventFilter(watched, event);
}

QByteArray Agent::activationToken() const
{
    // After a click on a status icon, Qt puts the desktop's activation token into the environment.
    const QByteArray token = WindowActivation::takeToken();
    return token.isEmpty() ? WindowActivation::tokenOf(m_lastAct) : token;
}

void Agent::openSettings()
{
    Workspace::OpenConfiguration configuration;
    SharedSettings::post(Signal::openSettings);
    // A process is started even if the application runs already, because that application may be about to exit or may have
    // no window. The new process either brings the existing window forward or becomes the application itself.
    configuration.createsNewApplicationInstance = true;
    configuration.environment = WindowActivation::environment(activationToken());
    Workspace::shared().openApplication(outerBundle(), configuration, [](const Workspace::Opened& opened) {
        if (!opened.error.isEmpty())
            Log::warning(
                "agent", QStringLiteral("Kestrum cannot be opened: %1").arg(Log::escaped(opened.error)));
    });
}

/// Makes the entries anew if they are other ones by now. A menu that did not change is not sent to the panel again: Xfce's gives it
/// the size that it had before.
void Agent::fillMenu()
{
    QMenu fresh;
    addEntries(fresh);
    const auto facts = [](const QMenu& menu) {
        QStringList list;
        for (const QAction* entry : menu.actions())
            list << entry->objectName() << entry->text() << QString::number(entry->isEnabled());
        return list;
    };
    if (facts(fresh) == facts(m_menu))
        return;
    m_menu.clear();
    const QList<QAction*> entries = fresh.actions();
    for (QAction* entry : entries)
        entry->setParent(&m_menu);
    m_menu.addActions(entries);
}

void Agent::addEntries(QMenu& menu)
{
    // By these names, the entries can be chosen from a panel's own menu.
    menu.addAction(AppLanguage::string("Settings…"), this, &Agent::openSettings)
        ->setObjectName(QStringLiteral("settings"));
    m_panelOffer->addTo(menu);
    if (Setting(Keys::updaterCanCheck).value()) {
        menu.addAction(AppLanguage::string("Check for Updates…"), m_updates, &UpdateChecker::check)
            ->setObjectName(QStringLiteral("check-for-updates"));
        m_updateNotice->addTo(menu, [this] { return activationToken(); });
    }
    menu.addSeparator();
    menu.addAction(AppLanguage::string("Quit Kestrum"), this, &Agent::switchOff)
        ->setObjectName(QStringLiteral("quit"));
}

/// Also stores that the agent is switched off. Otherwise, the settings window would start the agent again when it is opened.
void Agent::switchOff()
{
    Setting(Keys::agentEnabled).set(false);
    leave(QStringLiteral("its menu was asked to quit it"));
}

} // namespace kestrum
