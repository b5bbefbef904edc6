// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QString>

namespace kestrum {

/// The program's exit codes.
enum class ExitCode { done = 0, failed = 1, wrongUse = 2 };

/// The program's two streams: results go to standard output, messages for people to standard error.
namespace Console {

/// Writes `text` to standard output and flushes it, so that the reader of a pipe need not wait. When it could not be
/// written whole, prints the reason and gives `failed`.
ExitCode print(const QByteArray& text);

/// Prints a line about the program's state, such as "listening".
void note(const char* line);

/// Print why something failed, or why the call was wrong; each gives the exit code to return.
ExitCode failed(const QString& reason);
ExitCode wrongUse(const QString& reason);

} // namespace Console
} // namespace kestrum
