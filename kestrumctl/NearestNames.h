// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <QStringList>

namespace kestrum {

/// Suggestions for a name that does not exist.
namespace NearestNames {

/// The smallest number of changes that turn one word into the other. A change inserts, removes or replaces a letter, or
/// swaps two neighbours. The case of letters is ignored.
int distance(const QString& word, const QString& other);

/// The names that the user may have meant by `word`, at most three: first names that differ by few changes, then names that
/// contain `word`.
QStringList of(const QString& word, const QStringList& names);

/// The message that there is no name `word`. The message suggests the nearest names. If no name is near and there are few
/// names, it lists all of them. `kind` is the kind of name, such as "key".
QString unknown(const char* kind, const QString& word, const QStringList& names);

} // namespace NearestNames
} // namespace kestrum
