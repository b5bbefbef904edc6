// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Log/Result.h"

#include <QByteArray>
#include <QJsonValue>
#include <QString>

namespace kestrum {

/// Converts JSON values of all types to text and back.
namespace JsonText {

/// `value` in one line, without spaces.
QByteArray compact(const QJsonValue& value);

/// Like `compact`, but shortened to 60 characters, for messages.
QString shortened(const QJsonValue& value);

/// The JSON value in `text`. Fails if `text` is not exactly one value, or if the value is nested too deeply for a setting.
Result<QJsonValue> parsed(const QString& text);

} // namespace JsonText
} // namespace kestrum
