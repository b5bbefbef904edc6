// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <QStringList>

namespace kestrum {

/// Suggestions for a name that does not exist.
namespace NearestNames {

/// The number of letters to insert, remove, replace or exchange with their neighbour to make one word of the other; upper
/// and lower case are the same letter.
int distance(const QString& word, const QString& other);

/// At most three of `names` that were probably meant by `word`, nearest first: those that are few changes away, then those
/// that contain it.
QStringList of(const QString& word, const QStringList& names);

/// A sentence that there is no such name, with suggestions: the nearest names, or all of them where none is near and they
/// are few. `kind` is the kind of name, such as "key".
QString unknown(const char* kind, const QString& word, const QStringList& names);

} // namespace NearestNames
} // namespace kestrum
