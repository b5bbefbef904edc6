// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Settings/SharedSettings.h"
#include "Platform/Log/Result.h"

#include <QList>
#include <QString>
#include <QStringList>

namespace kestrum {

/// Finds signals by their short names, without the suite's name.
namespace SignalNames {

/// The signals with the names `words`, in the same order, without repetitions. Fails with a message about the first word
/// that is not a signal's name.
Result<QList<SharedSettings::Signal>> parsed(const QStringList& words);

/// A sentence with the reason why signals cannot be sent between processes now; empty if they can.
QString obstacle();

/// Makes a sentence from an obstacle that `NotificationCentre` has returned; empty if `obstacle` is empty.
QString sentence(const QString& obstacle);

} // namespace SignalNames
} // namespace kestrum
