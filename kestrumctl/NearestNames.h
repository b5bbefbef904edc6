// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <QStringList>

namespace kestrum {

/// Suggestions for a name that does not exist.
namespace NearestNames {

/// The number of changes that turn one word into the other. A change inserts, removes or replaces a letter, or swaps two
/// neighbours. Upper and lower case are the same letter.
int distance(const QString& word, const QString& other);

/// At most three of `names` that the user probably meant by `word`, nearest first: names that differ by few changes, then names
/// that contain `word`.
QStringList of(const QString& word, const QStringList& names);

/// The message that there is no name `word`, with suggestions: the nearest names, or all names if none is near and there are
/// few. `kind` is the kind of name, such as "key".
QString unknown(const char* kind, const QString& word, const QStringList& names);

} // namespace NearestNames
} // namespace kestrum
