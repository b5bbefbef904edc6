// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Log/Result.h"

#include <QByteArray>
#include <QJsonValue>
#include <QString>

namespace kestrum {

/// Any JSON value as text, scalars included.
namespace JsonText {

/// In one line, without spaces.
QByteArray compact(const QJsonValue& value);

/// As `compact`, cut to the length of a message.
QString shortened(const QJsonValue& value);

/// The one value in `text`. Fails when it is no JSON or nested deeper than settings may be.
Result<QJsonValue> parsed(const QString& text);

} // namespace JsonText
} // namespace kestrum
