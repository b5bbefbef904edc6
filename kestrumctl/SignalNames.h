// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Settings/SharedSettings.h"
#include "Platform/Log/Result.h"

#include <QList>
#include <QString>
#include <QStringList>

namespace kestrum {

/// Signals by the names that users see, without the suite's name.
namespace SignalNames {

/// The signals that `words` name, each once, in the same order. A failure gives the word that names no signal.
Result<QList<SharedSettings::Signal>> parsed(const QStringList& words);

/// A sentence with the reason why signals cannot be sent between processes now; empty if they can.
QString obstacle();

/// A sentence about an `obstacle` that `NotificationCentre` returned; empty if `obstacle` is empty.
QString sentence(const QString& obstacle);

} // namespace SignalNames
} // namespace kestrum
