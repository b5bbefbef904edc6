// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Settings/SharedSettings.h"

#include <QList>
#include <QString>
#include <QStringList>
#include <optional>

namespace kestrum {

/// Signals by the names that the program's users see, without the suite's.
namespace SignalNames {

/// The signals in `words`, each once, in their order. Nothing, with the reason in `error`, when a word is no signal.
std::optional<QList<SharedSettings::Signal>> parsed(const QStringList& words, QString* error);

/// The sentence about why signals cannot pass between processes at present; empty when they can.
QString obstacle();

/// The sentence about an `obstacle` of `NotificationCentre`; empty for none.
QString sentence(const QString& obstacle);

} // namespace SignalNames
} // namespace kestrum
