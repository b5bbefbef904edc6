// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <QStringList>

namespace kestrum {

/// What somebody may have meant by a name that does not exist.
namespace NearestNames {

/// How many letters have to be inserted, removed, replaced or exchanged with their neighbour to make one word
/// of the other; upper and lower case are the same letter.
int distance(const QString& word, const QString& other);

/// At most three of `names` that are likely meant by `word`, nearest first: those that few changes away, then
/// those that contain it.
QStringList of(const QString& word, const QStringList& names);

/// A sentence that says that there is no such name and what may be meant: the nearest ones, or all of them
/// where none is near and they are few. `kind` says what is named, such as "key".
QString unknown(const char* kind, const QString& word, const QStringList& names);

} // namespace NearestNames
} // namespace kestrum
