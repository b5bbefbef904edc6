#pragma once

#include <QByteArray>
#include <QJsonObject>
#include <QString>

namespace kestrum {

/// The text form of a settings domain: one JSON object, a key a line, keys in order, so that people can keep
/// it under version control and edit it by hand.
namespace SettingsText {

constexpr qint64 maximumBytes = 1024 * 1024;
/// How deep objects and lists may stand in each other; the domain itself is the first.
constexpr int maximumDepth = 32;

struct Parsed {
    QJsonObject values;
    /// What is wrong with the text; empty for a sound one. `values` then holds what could be salvaged.
    QString damage;
};

/// Reads `text` (UTF-8). A blank text is an empty domain. Of a damaged text every top-level member that
/// stands whole is kept. Of a key that stands twice the last value counts. A text that is too large gives
/// nothing.
Parsed parsed(const QByteArray& text);

/// Writes `values`, indented and with a line end at the end; reading the result gives the same values when
/// `isStorable`.
QByteArray serialised(const QJsonObject& values);

/// As `serialised`, with the text of every value that stands in `before` already and is the same: another program may mean
/// more by it than we can hold, such as a number of twenty digits. A byte order mark stays, too.
QByteArray rewritten(const QByteArray& before, const QJsonObject& values);

/// Whether a text can hold `value` as a member of a domain: numbers are finite, and it is not too deep.
bool isStorable(const QJsonValue& value);

} // namespace SettingsText
} // namespace kestrum
