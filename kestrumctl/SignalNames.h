// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Settings/SharedSettings.h"

#include <QList>
#include <QString>
#include <QStringList>
#include <optional>

namespace kestrum {

/// Signals as the program's users name them: by the name alone, without the suite's.
namespace SignalNames {

/// The signals named in `words`, each once, in their order. Nothing, with the reason in `error`, when a word
/// names none.
std::optional<QList<SharedSettings::Signal>> parsed(const QStringList& words, QString* error);

/// Why signals cannot pass between processes at present; empty when they can.
QString obstacle();

/// The sentence for an `obstacle` that has been met; empty for none.
QString told(const QString& obstacle);

} // namespace SignalNames
} // namespace kestrum
