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

// "-xe", and what takes such options back, "+e".
bool isShellOption(const QByteArray& word)
{
    return (word.startsWith('-') || word.startsWith('+')) && !word.startsWith("--");
}

// Whether the word after the option is its value. A letter means another thing to each interpreter.
bool hasValue(const QByteArray& program, const QByteArray& option)
{
    if (ProgramName::isShell(program)) {
        // "-euo pipefail", and bash's "-O extglob"
        return (isShellOption(option) && (option.endsWith('o') || option.endsWith('O')))
            || isOneOf(option, { "--rcfile", "--init-file" });
    }
    const QByteArray language = withoutVersion(program);
    if (language == "python")
        return isOneOf(option, { "-W", "-X" });
    if (language == "perl")
        return option == "-I";
    if (language == "ruby")
        return isOneOf(option, { "-I", "-r" });
    if (isOneOf(language, { "node", "nodejs" }))
        return isOneOf(option, { "-r", "--require", "--import" });
    if (language == "php")
        return isOneOf(option, { "-d", "-S", "-t" });
    if (isOneOf(language, { "lua", "luajit" }))
        return option == "-l";
    if (isOneOf(language, { "gjs", "gjs-console" }))
        return isOneOf(option, { "-I", "-C" });
    return language == "java"
        && isOneOf(option,
            { "-cp", "-classpath", "--class-path", "-p", "--module-path", "--add-modules", "--add-opens",
                "--add-exports", "--add-reads" });
}

// Whether the program's text stands in the command itself: "-c", "-e" and, with other letters around them, "-lc" or "-ne".
// For shells "-e" is another thing: end at the first command that fails.
bool isText(const QByteArray& program, const QByteArray& option)
{
    if (ProgramName::isShell(program))
        return option.startsWith('-') && isShellOption(option) && option.contains('c');
    const QByteArray language = withoutVersion(program);
    if (language == "php")
        return option == "-r";
    if (isOneOf(language, { "node", "nodejs" }) && isOneOf(option, { "-p", "--eval", "--print" }))
        return true;
    // "-E", and "-0777ne" with the number of a character
    if (language == "perl" && (option == "-E" || (option.startsWith("-0") && option.endsWith('e'))))
        return true;
    static constexpr qsizetype longest = 5;
    return option.size() >= 2 && option.size() <= longest && option.startsWith('-')
        && !option.startsWith("--") && (option.endsWith('c') || option.endsWith('e'));
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

QByteArray ProgramName::script(const QByteArray& program, const QByteArrayList& command)
{
    for (qsizetype i = 1; i < command.size(); ++i) {
        const QByteArray& word = command[i];
        if (isText(program, word))
            return {};
        if (hasValue(program, word))
            ++i;
        else if (!word.isEmpty() && !word.startsWith('-') && !(isShell(program) && isShellOption(word)))
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
    return isInterpreter(program) ? script(program, words) : program;
}

} // namespace kestrum
