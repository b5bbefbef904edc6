// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QString>

namespace kestrum {

/// What the program tells the shell that started it.
enum class ExitCode { done = 0, failed = 1, wrongUse = 2 };

/// The program's two streams: results go to standard output, everything said to a person to standard error.
namespace Console {

/// Writes `text` to standard output and lets it go at once, so that a reader of a pipe waits for nothing.
/// `failed`, with the reason told, when it could not be written whole.
ExitCode print(const QByteArray& text);

/// A line for whoever follows the program's state, such as "listening".
void note(const char* line);

/// Tell why something was not done, or what was wrong in how the program was called; each gives the exit code
/// to return.
ExitCode failed(const QString& reason);
ExitCode wrongUse(const QString& reason);

} // namespace Console
} // namespace kestrum
