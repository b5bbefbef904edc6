// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QString>

namespace kestrum {

/// The text format of a settings domain: one JSON object with sorted keys, one key per line. So users can edit the text and put
/// it under version control.
namespace SettingsText {

constexpr qint64 maximumBytes = 1024 * 1024;
/// The greatest nesting of objects and lists; the domain's own object is level 1.
constexpr int maximumDepth = 32;

struct Parsed {
    QJsonObject values;
    /// The error in the text; empty if the text is sound. `values` of a damaged text are the values that could be salvaged.
    QString damage;
};

/// Parses `text` (UTF-8). A blank text is an empty domain. From a damaged text, every whole top-level member is salvaged. The
/// last value of a repeated key counts. A text that is too large gives no values.
Parsed parsed(const QByteArray& text);

/// Returns `values` as indented text with a final line end. Parsing the text gives the same values if they are `isStorable`.
QByteArray serialised(const QJsonObject& values);

/// Like `serialised`, but each unchanged value has the same text as in `before`. The old text may be more precise than the
/// parsed value, such as a number of twenty digits. A byte order mark is preserved, too.
QByteArray rewritten(const QByteArray& before, const QJsonObject& values);

/// Whether `value` can be stored in a domain: it is defined, all numbers are finite, and the nesting is not too deep.
bool isStorable(const QJsonValue& value);

} // namespace SettingsText
} // namespace kestrum
