// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QJsonValue>
#include <QString>
#include <optional>

namespace kestrum {

/// Any JSON value as text, scalars included.
namespace JsonText {

/// In one line, without spaces.
QByteArray compact(const QJsonValue& value);

/// As `compact`, cut to the length of a message.
QString shortened(const QJsonValue& value);

/// The one value in `text`; nothing, with the reason in `error`, when it is no JSON or nested deeper than settings may be.
std::optional<QJsonValue> parsed(const QString& text, QString* error);

} // namespace JsonText
} // namespace kestrum
