// SPDX-License-Identifier: MIT
#pragma once

#include <QLoggingCategory>
#include <QString>

namespace kestrum {

/// The program's log: one Qt logging category per area, named "com.orvale.kestrum.<area>". Messages go to standard
/// error. If standard error is the journal, messages are sent to the journal as entries with fields.
namespace Log {

/// The category of `area` ("store", "signals", …). The category is created on first use and lives until the process ends.
const QLoggingCategory& category(const char* area);

/// `value` made safe for one log line: control characters are escaped, so that a path cannot forge a
/// line, and the text is cut at 256 UTF-8 bytes.
QString escaped(const QString& value);
/// The same without a limit, for output that is printed line by line.
QString escapedWhole(const QString& value);

/// Each of these functions logs one line in the category of `area`. Line ends in `message` are escaped. Any thread.
void error(const char* area, const QString& message);
void warning(const char* area, const QString& message);
void info(const char* area, const QString& message);

/// Logs `message` as a warning, but the same message only once per process.
void warnOnce(const char* area, const QString& message);

/// Makes Qt's messages use this log's format. Called once, at the start of `main`.
void install();

} // namespace Log
} // namespace kestrum
