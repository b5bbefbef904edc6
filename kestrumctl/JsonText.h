// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Log/Result.h"

#include <QByteArray>
#include <QJsonValue>
#include <QString>

namespace kestrum {

/// Any JSON value as text, scalars included.
namespace JsonText {

/// `value` in one line, without spaces.
QByteArray compact(const QJsonValue& value);

/// Like `compact`, but cut to 60 characters, for messages.
QString shortened(const QJsonValue& value);

/// The one JSON value in `text`. Fails if there is not exactly one, or if it is nested deeper than settings may be.
Result<QJsonValue> parsed(const QString& text);

} // namespace JsonText
} // namespace kestrum
