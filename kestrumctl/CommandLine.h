// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Log/Result.h"

#include <QHash>
#include <QString>
#include <QStringList>
#include <optional>
#include <span>

namespace kestrum {

/// An option of a verb, with its dashes.
struct Option {
    const char* name;
    bool takesValue = false;
};

/// The words after a verb, separated into options and arguments. An option begins with a dash and then a letter or another
/// dash. So negative numbers and "-" (a standard stream) are arguments. "--name value" and "--name=value" are the same; "--"
/// ends the options. Every verb has "--help". QCommandLineParser cannot be used: it refuses "-1", and its error messages
/// show options without dashes.
class CommandLine {
public:
    /// The error message contains the word that is not understood.
    static Result<CommandLine> parsed(const QStringList& words, std::span<const Option> options);

    const QStringList& arguments() const { return m_arguments; }
    bool has(const char* option) const { return m_options.contains(QLatin1StringView(option)); }
    /// The option's value; the last value if the option is given several times. Nothing if the option is not given.
    std::optional<QString> value(const char* option) const;

private:
    QStringList m_arguments;
    QHash<QString, QString> m_options;
};

} // namespace kestrum
