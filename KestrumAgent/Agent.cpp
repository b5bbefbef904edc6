// SPDX-License-Identifier: MIT
#include "KestrumAgent/Agent.h"

#include "KestrumAgent/Panel/PanelChannel.h"
#include "KestrumAgent/Panel/PanelStrip.h"
#include "KestrumAgent/Readings/Sampler.h"
#include "KestrumAgent/Updates/UpdateChecker.h"
#include "KestrumAgent/Updates/UpdateNotice.h"
#include "KestrumShared/Settings/MeterSettings.h"
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
{
    // The outcome is shown as a notification, because a user who requested the check in the settings window does not see the
    // menu.
    connect(m_updates, &UpdateChecker::finished, m_updateNotice, &UpdateNotice::notify);
    m_menu.installEventFilter(this);
    connect(&m_menu, &QMenu::aboutToShow, this, &Agent::fillMenu);
    // Logs an exit that the toolkit causes, for example at the end of the session.
    connect(QCoreApplication::instance(), &QCoreApplication::aboutToQuit, this,
        [this] { logEnd(QStringLiteral("the desktop or the toolkit wants it to")); });
    fillMenu();
}

// The order of the members destroys the channel before the strip that the channel shows.
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
    m_sampler->adoptSettings();
    m_strip = std::make_unique<PanelStrip>(m_sampler->readings());
    for (const auto signal : { &Sampler::sampled, &Sampler::completed })
        connect(m_sampler, signal, m_strip.get(), &PanelStrip::redraw);
    m_strip->installEventFilter(this);
    connect(m_strip.get(), &PanelStrip::settingsRequested, this, &Agent::openSettings);
    m_channel = PanelChannel::make(*m_strip, m_menu);

    // The signal does not say which settings changed, so the store is read again. The change may be known already, or
    // concern settings that the agent does not use.
    m_signals.listen(Signal::settings, [&store] { store.synchronize(); });
    m_signals.listen(Signal::quitAgent, [this] { leave(QStringLiteral("it was asked to quit")); });
    // Where signals cannot pass between programs, only this setting says that the agent was switched off. An agent that was
    // started by hand while it was switched off keeps running: only a change of the setting ends it.
    Setting(Keys::agentEnabled).observe(this, [this](bool isEnabled) {
        if (!isEnabled)
            leave(QStringLiteral("it was switched off in the settings"));
    });
    m_signals.listen(Signal::checkForUpdates, [this] { m_updates->check(); });
    m_updates->start();
    if (launched)
        doWhatWasAskedSince(*launched);
}

void Agent::doWhatWasAskedSince(double launched)
{
    // A post time in the future comes from a clock that was wrong. It is ignored: otherwise every agent would obey the
    // request until that time is reached.
    const auto wasAskedSince = [](Signal signal, double time) {
        const auto asked = NotificationCentre::lastPost(SharedSettings::name(signal));
        const std::chrono::duration<double> now = std::chrono::system_clock::now().time_since_epoch();
        return asked >= time && *asked <= now.count();
    };
    // Start times have a resolution of 10 ms, so a request may be from just before the start. An unnecessary check does no
    // harm...
    if (wasAskedSince(Signal::checkForUpdates, launched))
        m_updates->check();
    // ...but an unnecessary exit would: such a request to quit was meant for the previous agent.
    if (wasAskedSince(Signal::quitAgent, launched + startTimeStep))
        QTimer::singleShot(0, this, [this] { leave(QStringLiteral("it was asked to quit as it began")); });
}

void Agent::leave(const QString& reason)
{
    logEnd(reason);
    QCoreApplication::quit();
}

/// Logs only the first reason: the first one is the cause of the exit.
void Agent::logEnd(const QString& reason)
{
    if (!std::exchange(m_isLeaving, true))
        Log::info("agent", QStringLiteral("the agent ends: %1").arg(reason));
}

/// The program's own texts are looked up each time they are shown. Qt caches its texts and mirrors the visible widgets, so
/// both are updated here.
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
    {
        // A sample that is taken at once is not drawn by itself: the rebuild draws everything.
        const QSignalBlocker blocker(m_sampler);
        m_sampler->adoptSettings();
    }
    m_strip->rebuild();
}

/// Filters nothing: it stores the time of the last input event, which may be followed by a request to open the settings.
bool Agent::eventFilter(QObject* watched, QEvent* event)
{
    if (event->isInputEvent())
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
    // A second process is started even if the application runs already: the first one may be about to exit, or may have no
    // window. The second process decides when it starts: it brings the first one's window forward, or becomes the
    // application itself.
    configuration.createsNewApplicationInstance = true;
    configuration.environment = WindowActivation::environment(activationToken());
    Workspace::shared().openApplication(outerBundle(), configuration, [](const Workspace::Opened& opened) {
        if (!opened.error.isEmpty())
            Log::warning(
                "agent", QStringLiteral("Kestrum cannot be opened: %1").arg(Log::escaped(opened.error)));
    });
}

void Agent::fillMenu()
{
    m_menu.clear();
    m_menu.addAction(AppLanguage::string("Settings…"), this, &Agent::openSettings);
    if (Setting(Keys::updaterCanCheck).value()) {
        m_menu.addAction(AppLanguage::string("Check for Updates…"), m_updates, &UpdateChecker::check);
        m_updateNotice->addTo(m_menu, [this] { return activationToken(); });
    }
    m_menu.addSeparator();
    m_menu.addAction(AppLanguage::string("Quit Kestrum"), this, &Agent::switchOff);
}

/// A user who quits the agent does not want it back. So the setting is changed too: the settings window shows the agent as
/// switched off, and does not start it when it is opened.
void Agent::switchOff()
{
    Setting(Keys::agentEnabled).set(false);
    leave(QStringLiteral("its menu was asked to quit it"));
}

} // namespace kestrum
