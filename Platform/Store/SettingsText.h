// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QString>

namespace kestrum {

/// The text of a settings domain: one JSON object with one key per line, sorted, so that users can edit it and keep it under
/// version control.
namespace SettingsText {

constexpr qint64 maximumBytes = 1024 * 1024;
/// The greatest nesting of objects and lists; the domain itself is level 1.
constexpr int maximumDepth = 32;

struct Parsed {
    QJsonObject values;
    /// What is wrong with the text; empty if it is sound. `values` then holds what could be salvaged.
    QString damage;
};

/// Reads `text` (UTF-8). A blank text is an empty domain. From a damaged text, every whole top-level member is salvaged. The
/// last value of a repeated key counts. A text that is too large gives no values.
Parsed parsed(const QByteArray& text);

/// Writes `values`, indented, with a final line end. Reading the result gives the same values if they are `isStorable`.
QByteArray serialised(const QJsonObject& values);

/// Like `serialised`, but unchanged values have the same text as in `before`. That text may be more precise than the parsed
/// value, such as a number of twenty digits. A byte order mark is preserved, too.
QByteArray rewritten(const QByteArray& before, const QJsonObject& values);

/// Whether `value` can be stored in a domain: numbers are finite, and the nesting is not too deep.
bool isStorable(const QJsonValue& value);

} // namespace SettingsText
} // namespace kestrum
