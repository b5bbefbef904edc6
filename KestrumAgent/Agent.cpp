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

/// The settings application's bundle, which contains the agent's: "Contents/Library/LoginItems/KestrumAgent.app".
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
    // A user who asked in the settings window does not see the menu.
    connect(m_updates, &UpdateChecker::finished, m_updateNotice, &UpdateNotice::notify);
    m_menu.installEventFilter(this);
    connect(&m_menu, &QMenu::aboutToShow, this, &Agent::fillMenu);
    // Reasons that the toolkit knows, such as the end of the session.
    connect(QCoreApplication::instance(), &QCoreApplication::aboutToQuit, this,
        [this] { logEnd(QStringLiteral("the desktop or the toolkit wants it to")); });
    fillMenu();
}

// The channel is destroyed before the strip that it shows.
Agent::~Agent() = default;

void Agent::start(std::optional<double> launched)
{
    UserDefaults& store = SharedSettings::store();
    store.registerDefaults(SharedSettings::factoryDefaults());
    MeterSettings::migrateAccents();

    // Before anything is adopted, so that no change falls in between.
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

    // Only a reason to look: the change may be known already, or of settings that the agent has no use for.
    m_signals.listen(Signal::settings, [&store] { store.synchronize(); });
    m_signals.listen(Signal::quitAgent, [this] { leave(QStringLiteral("it was asked to quit")); });
    // Where signals cannot pass between programs, only the settings say it. An agent that was started by hand while
    // switched off stays.
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
    // A time in the future comes from a clock that was ahead. It is ignored: it would count for every agent until that time
    // has come.
    const auto wasAskedSince = [](Signal signal, double time) {
        const auto asked = NotificationCentre::lastPost(SharedSettings::name(signal));
        const std::chrono::duration<double> now = std::chrono::system_clock::now().time_since_epoch();
        return asked >= time && *asked <= now.count();
    };
    // Start times are known to 10 ms. Answering a request from just before the start does no harm here...
    if (wasAskedSince(Signal::checkForUpdates, launched))
        m_updates->check();
    // ...but would here, where the request to quit was meant for the agent before.
    if (wasAskedSince(Signal::quitAgent, launched + startTimeStep))
        QTimer::singleShot(0, this, [this] { leave(QStringLiteral("it was asked to quit as it began")); });
}

void Agent::leave(const QString& reason)
{
    logEnd(reason);
    QCoreApplication::quit();
}

/// An exit may have several reasons, of which the first is the cause.
void Agent::logEnd(const QString& reason)
{
    if (!std::exchange(m_isLeaving, true))
        Log::info("agent", QStringLiteral("the agent ends: %1").arg(reason));
}

/// Our own texts are looked up when they are shown. The toolkit caches its own, and mirrors the shown widgets.
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
    m_sampler->adoptSettings();
    m_strip->rebuild();
}

/// Only observes: a request for the settings follows from the last event of the menu or the strip.
bool Agent::eventFilter(QObject* watched, QEvent* event)
{
    if (event->isInputEvent())
        m_lastAct = quint32(static_cast<const QInputEvent*>(event)->timestamp());
    return QObject::eventFilter(watched, event);
}

QByteArray Agent::activationToken() const
{
    // A click on a status icon comes with a token, which the toolkit leaves in our environment.
    const QByteArray token = WindowActivation::takeToken();
    return token.isEmpty() ? WindowActivation::tokenOf(m_lastAct) : token;
}

void Agent::openSettings()
{
    Workspace::OpenConfiguration configuration;
    SharedSettings::post(Signal::openSettings);
    // Also where it runs: it may be about to exit, or may be a run without a window. A second start brings the window
    // forward or becomes the first, and which of the two can change before it has begun.
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

/// A user who quits the agent wants it to stay away: the switch in the settings shows that it is off, and opening the
/// settings does not bring it back.
void Agent::switchOff()
{
    Setting(Keys::agentEnabled).set(false);
    leave(QStringLiteral("its menu was asked to quit it"));
}

} // namespace kestrum
