// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Vocabulary/Enumeration.h"
#include "Platform/Store/UserDefaults.h"

#include <QJsonObject>
#include <QString>

namespace kestrum {

/// The settings that the application and the agent share, and the signals between them.
namespace SharedSettings {

/// The name of the settings' domain: the environment variable "KESTRUM_SETTINGS_SUITE", unchanged, else the application
/// group's name. Fixed at the first call.
const QString& suiteName();

/// The domain named `suiteName`; the process's own domain if that name is not valid. Lives until the process ends.
UserDefaults& store();

/// Why `store` is not the domain named `suiteName`, as a sentence that names the variable; empty if it is that domain.
/// Programs should print it, because reads and writes do not report it.
QString refusal();

/// The factory defaults, to be registered at start-up.
const QJsonObject& factoryDefaults();

/// The signals between the programs. A case's name is the last part of the signal's full name.
enum class Signal { settings, quitAgent, openSettings, checkForUpdates, updateAvailable, menuBarChanged };

/// The signal's full name: the suite name, a full stop and the case's name.
QString name(Signal signal);

/// Notifies every process that listens to the signal. Never fails, never blocks; any thread.
void post(Signal signal);

} // namespace SharedSettings

template <> struct Enumeration<SharedSettings::Signal> {
    using Signal = SharedSettings::Signal;
    static constexpr EnumerationCase<Signal> cases[] = {
        { Signal::settings, "settings", nullptr },
        { Signal::quitAgent, "quitAgent", nullptr },
        { Signal::openSettings, "openSettings", nullptr },
        { Signal::checkForUpdates, "checkForUpdates", nullptr },
        { Signal::updateAvailable, "updateAvailable", nullptr },
        { Signal::menuBarChanged, "menuBarChanged", nullptr },
    };
};

} // namespace kestrum
