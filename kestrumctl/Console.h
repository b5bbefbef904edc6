// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QString>

namespace kestrum {

enum class ExitCode { done = 0, failed = 1, wrongUse = 2 };

/// The program's output: results go to standard output, messages to the user go to standard error.
namespace Console {

/// Writes `text` to standard output and flushes it, so that the reader of a pipe gets the text at once. If not all of `text`
/// can be written, prints the reason and returns `failed`.
ExitCode print(const QByteArray& text);

/// Prints a line about the program's state, such as "listening", to standard error.
void note(const char* line);

/// Print `reason` to standard error. `failed` is for actions that failed, `wrongUse` for a wrong command line. Each function
/// returns the exit code with the function's name.
ExitCode failed(const QString& reason);
ExitCode wrongUse(const QString& reason);

} // namespace Console
} // namespace kestrum
