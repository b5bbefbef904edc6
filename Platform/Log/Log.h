// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Log/Result.h"

#include <QLoggingCategory>
#include <QString>

namespace kestrum {

/// The program's log: one Qt logging category per area, named "com.orvale.kestrum.<area>". Messages go to standard error or, if
/// standard error is connected to the journal, directly to the journal as entries with fields.
namespace Log {

/// The category of `area` ("store", "signals", …). The category is created on first use and lives until the process ends.
const QLoggingCategory& category(const char* area);

/// Returns `value` in a form that is safe for one log line. Control characters are escaped, so a path cannot fake a log line.
/// The text is cut at 256 UTF-8 bytes.
QString escaped(const QString& value);
/// The failure's text, of which subject and reason are each escaped and cut: a long path leaves room for the reason.
QString escaped(const Failure& failure);
/// Like `escaped`, but without the limit. For output that is printed line by line.
QString escapedWhole(const QString& value);

/// Each of these functions logs one line in the category of `area`. Line ends in `message` are escaped. Thread-safe.
void error(const char* area, const QString& message);
void warning(const char* area, const QString& message);
void info(const char* area, const QString& message);

/// Logs `message` as a warning, but only once per process: a repeated message is ignored.
void warnOnce(const char* area, const QString& message);

/// Makes Qt's messages use this log's format. To be called once, at the start of `main`.
void install();

} // namespace Log
} // namespace kestrum
