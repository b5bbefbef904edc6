// SPDX-License-Identifier: MIT
#include "Kestrum/SettingsAppDelegate.h"

#include "Kestrum/Agent/LoginItemManager.h"
#include "KestrumShared/Agent/AppLinks.h"
#include "KestrumShared/Settings/MeterSettings.h"
#include "KestrumShared/Settings/Setting.h"
#include "KestrumShared/Text/AppLanguage.h"
#include "Platform/Desktop/WindowActivation.h"

#include <QGuiApplication>
#include <QSessionManager>
#include <QWindow>
#include <algorithm>
#include <chrono>
#include <utility>

namespace kestrum {

namespace {

// After this time the agent starts anyway: a window behind others may never be painted, and a window may not open at all.
constexpr std::chrono::seconds longestWaitForWindow { 1 };

} // namespace

SettingsAppDelegate::SettingsAppDelegate(Run run, Relaunch::Actions actions)
    : m_run(run)
    , m_relaunch(std::move(actions))
{
    m_rest.setSingleShot(true);
    m_rest.setInterval(longestWaitForWindow);
    connect(&m_rest, &QTimer::timeout, this, &SettingsAppDelegate::windowWasShown);
}

void SettingsAppDelegate::applicationDidFinishLaunching()
{
    UserDefaults& store = SharedSettings::store();
    store.registerDefaults(SharedSettings::factoryDefaults());
    MeterSettings::migrateAccents();
    if (m_run == Run::ordinary)
        LoginItemManager::unregisterLegacyMainAppOnce();
    // The store outlives this object; the connection ends with this object.
    connect(&store, &UserDefaults::changed, this, &SettingsAppDelegate::storeChanged);
    m_signals.listen(SharedSettings::Signal::openSettings, [] { bringForward({}); });
    m_rest.start();
}

void SettingsAppDelegate::windowWasShown()
{
    if (std::exchange(m_isComplete, true))
        return;
    m_rest.stop();
    if (m_run == Run::ordinary && Setting { Keys::agentEnabled }.value())
        AppLinks::launchAgentIfNeeded(AppLinks::retries);
    QTimer::singleShot(0, this, &SettingsAppDelegate::presentWindowIfMissing);
    // Only X11 session management restores windows. Window managers cannot be asked not to put windows into tabs.
    connect(
        qGuiApp, &QGuiApplication::saveStateRequest, this,
        [](QSessionManager& session) { session.setRestartHint(QSessionManager::RestartNever); },
        Qt::DirectConnection);
    SharedSettings::store().sweepLeftovers();
}

void SettingsAppDelegate::bringForward(const QByteArray& activationToken)
{
    if (QWindow* window = firstMainWindow())
        WindowActivation::bringForward(*window, activationToken);
}

QWindow* SettingsAppDelegate::firstMainWindow()
{
    const QWindowList windows = QGuiApplication::topLevelWindows();
    const auto found = std::find_if(windows.begin(), windows.end(),
        [](const QWindow* window) { return window->type() == Qt::Window && window->isVisible(); });
    return found == windows.end() ? nullptr : *found;
}

void SettingsAppDelegate::presentWindowIfMissing()
{
    if (!firstMainWindow())
        Q_EMIT reopenRequested();
}

void SettingsAppDelegate::storeChanged()
{
    SharedSettings::post(SharedSettings::Signal::settings);
    if (AppLanguage::processIsStale()) {
        AppLanguage::applyChoiceToProcessDefaults();
        if (m_run == Run::ordinary)
            m_relaunch.whenInactive();
    }
}

} // namespace kestrum
