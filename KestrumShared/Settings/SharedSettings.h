// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Vocabulary/Enumeration.h"
#include "Platform/Store/UserDefaults.h"

#include <QJsonObject>
#include <QString>

namespace kestrum {

/// The settings that the application and the agent share, and the signals between them.
namespace SharedSettings {

/// The name of the domain in which the settings are stored: the value of the environment variable
/// "KESTRUM_SETTINGS_SUITE", else the name of the application group. Fixed at the first call.
const QString& suiteName();

/// The store of the domain `suiteName`, or of the process's own domain if this name is not valid. Lives until the process
/// ends.
UserDefaults& store();

/// A sentence with the reason why `store` does not use the domain `suiteName`; empty if `store` uses this domain. Programs
/// should print the sentence, because reads and writes do not fail.
QString refusal();

/// The factory defaults, to be registered at start-up.
const QJsonObject& factoryDefaults();

/// The signals between the programs.
enum class Signal { settings, quitAgent, openSettings, checkForUpdates, updateAvailable, menuBarChanged };

/// The signal's full name: `suiteName`, a full stop and the enumerator's name.
QString name(Signal signal);

/// Notifies every process that listens to the signal. Never fails and never blocks. Can be called on any thread.
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
