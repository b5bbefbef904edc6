// SPDX-License-Identifier: MIT
#include "Platform/Machine/ProgramName.h"

#include <algorithm>
#include <initializer_list>

namespace kestrum {
namespace {

bool isOneOf(const QByteArray& word, std::initializer_list<const char*> words)
{
    return std::any_of(words.begin(), words.end(), [&word](const char* other) { return word == other; });
}

// "python3.11" is a python.
QByteArray withoutVersion(QByteArray program)
{
    while (!program.isEmpty() && QByteArrayView("0123456789.-").contains(program.back()))
        program.chop(1);
    return program;
}

// Whether the word after the option is its value.
bool hasValue(const QByteArray& option)
{
    return isOneOf(option, { "-W", "-X", "-cp", "-classpath", "--class-path" });
}

// Whether the program's text stands in the command itself: "-c", "-e" and, with other letters before them, "-lc" or "-ne".
bool isText(const QByteArray& option)
{
    static constexpr qsizetype longest = 5;
    return option.size() >= 2 && option.size() <= longest && !option.startsWith("--")
        && (option.endsWith('c') || option.endsWith('e'));
}

// A script that came by an open file has no name, only a number.
bool isOpenFile(const QByteArray& path)
{
    return path.startsWith("/dev/fd/") || path.startsWith("/proc/");
}

QByteArrayList fromWord(const QByteArrayList& command, qsizetype first)
{
    return command.mid(std::min(first, command.size()));
}

// "env [-OPTION…] [NAME=VALUE…] COMMAND"
QByteArrayList afterEnvironment(const QByteArrayList& command)
{
    qsizetype first = 1;
    while (first < command.size() && (command[first].startsWith('-') || command[first].contains('=')))
        first += isOneOf(command[first], { "-u", "-C" }) ? 2 : 1;
    return fromWord(command, first);
}

// "flatpak run [--command=PROGRAM] [--OPTION…] ID"
QByteArray flatpakProgram(const QByteArrayList& command)
{
    static constexpr QByteArrayView option("--command=");
    for (qsizetype i = 2; i < command.size(); ++i) {
        if (command[i].startsWith(option))
            return ProgramName::base(command[i].sliced(option.size()));
        if (!command[i].startsWith('-'))
            return command[i];
    }
    return {};
}

} // namespace

QByteArray ProgramName::base(const QByteArray& path)
{
    return path.sliced(path.lastIndexOf('/') + 1);
}

bool ProgramName::isInterpreter(const QByteArray& program)
{
    return isShell(program)
        || isOneOf(withoutVersion(program),
            { "python", "perl", "ruby", "node", "nodejs", "gjs", "gjs-console", "lua", "luajit", "java",
                "php", "mono" });
}

bool ProgramName::isShell(const QByteArray& program)
{
    return isOneOf(program, { "sh", "bash", "dash", "zsh", "ksh", "fish", "csh", "tcsh", "nu" });
}

bool ProgramName::isManyPrograms(const QByteArray& program)
{
    return program.startsWith("wine") || program.startsWith("memfd:")
        || isOneOf(program, { "busybox", "toybox", "coreutils" });
}

bool ProgramName::isWrapper(const QByteArray& program)
{
    return isShell(program) || isOneOf(program, { "bwrap", "flatpak", "xdg-dbus-proxy", "env" });
}

QByteArray ProgramName::script(const QByteArrayList& command)
{
    for (qsizetype i = 1; i < command.size(); ++i) {
        const QByteArray& word = command[i];
        if (hasValue(word))
            ++i;
        else if (isText(word))
            return {};
        else if (!word.isEmpty() && !word.startsWith('-'))
            return isOpenFile(word) ? QByteArray() : base(word);
    }
    return {};
}

QByteArray ProgramName::ofCommand(const QByteArrayList& command)
{
    QByteArrayList words = command;
    while (!words.isEmpty() && isOneOf(base(words.first()), { "env", "pkexec" }))
        words = afterEnvironment(words);
    if (words.isEmpty())
        return {};
    const QByteArray program = base(words.first());
    if (program == "flatpak")
        return flatpakProgram(words);
    return isInterpreter(program) ? script(words) : program;
}

} // namespace kestrum
