// SPDX-License-Identifier: MIT
#include "kestrumctl/Console.h"

#include "Platform/Log/Log.h"

#include <cerrno>
#include <cstdio>

namespace kestrum {

namespace {

// Prints one line. Line ends within `line`, for example in a path, are escaped.
void printError(const QString& line)
{
    std::fprintf(stderr, "kestrumctl: %s\n", Log::escapedWhole(line).toUtf8().constData());
}

} // namespace

ExitCode Console::print(const QByteArray& text)
{
    const auto length = static_cast<size_t>(text.size());
    if (std::fwrite(text.constData(), 1, length, stdout) == length && std::fflush(stdout) == 0)
        return ExitCode::done;
    return failed(QStringLiteral("cannot write to standard output: ") + qt_error_string(errno));
}

void Console::note(const char* line)
{
    std::fprintf(stderr, "%s\n", line);
}

ExitCode Console::failed(const QString& reason)
{
    printError(reason);
    return ExitCode::failed;
}

ExitCode Console::wrongUse(const QString& reason)
{
    printError(reason);
    return ExitCode::wrongUse;
}

} // namespace kestrum
