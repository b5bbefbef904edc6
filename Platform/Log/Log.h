// SPDX-License-Identifier: MIT
#pragma once

#include <QLoggingCategory>
#include <QString>

namespace kestrum {

/// The program's log: one Qt logging category per area, named "com.orvale.kestrum.<area>". Messages go to
/// standard error. Where standard error is the journal, they go there as entries with fields.
namespace Log {

/// The category of `area` ("store", "signals", …). Created on first use, lives until the process ends.
const QLoggingCategory& category(const char* area);

/// `value` made safe for one log line: control characters are escaped, so that a path cannot forge a
/// line, and the text is cut at 256 UTF-8 bytes.
QString escaped(const QString& value);
/// The same without a limit, for output that is printed line by line.
QString escapedWhole(const QString& value);

/// One line each in the category of `area`; line ends in `message` are escaped. Any thread.
void error(const char* area, const QString& message);
void warning(const char* area, const QString& message);
void info(const char* area, const QString& message);

/// Logs `message` as a warning the first time it is given and never again in this process.
void warnOnce(const char* area, const QString& message);

/// Sends Qt's messages through this log's format. Called once, first thing in `main`.
void install();

} // namespace Log
} // namespace kestrum
