// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Settings/SharedSettings.h"
#include "Platform/Log/Result.h"

#include <QList>
#include <QString>
#include <QStringList>

namespace kestrum {

/// Signals by the names that the program's users see, without the suite's.
namespace SignalNames {

/// The signals in `words`, each once, in their order. A failure names the word that is no signal.
Result<QList<SharedSettings::Signal>> parsed(const QStringList& words);

/// The sentence about why signals cannot pass between processes at present; empty when they can.
QString obstacle();

/// The sentence about an `obstacle` of `NotificationCentre`; empty for none.
QString sentence(const QString& obstacle);

} // namespace SignalNames
} // namespace kestrum
