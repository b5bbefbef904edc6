// SPDX-License-Identifier: MIT
#include "kestrumctl/CommandLine.h"

#include "kestrumctl/NearestNames.h"

#include <algorithm>

namespace kestrum {

namespace {

constexpr Option help { "--help" };

bool looksLikeOption(const QString& word)
{
    return word.size() > 1 && word[0] == QLatin1Char('-')
        && (word[1] == QLatin1Char('-') || word[1].isLetter());
}

const Option* find(const QString& name, std::span<const Option> options)
{
    const auto isNamed = [&name](const Option& option) { return name == QLatin1StringView(option.name); };
    if (isNamed(help))
        return &help;
    const auto found = std::find_if(options.begin(), options.end(), isNamed);
    return found == options.end() ? nullptr : &*found;
}

QString unknownOption(const QString& name, std::span<const Option> options)
{
    QStringList known { QLatin1StringView(help.name) };
    for (const Option& option : options)
        known.append(QLatin1StringView(option.name));
    return NearestNames::unknown("option", name, known);
}

} // namespace

Result<CommandLine> CommandLine::parsed(const QStringList& words, std::span<const Option> options)
{
    CommandLine line;
    bool optionsEnded = false;
    for (qsizetype i = 0; i < words.size(); ++i) {
        const QString& word = words[i];
        if (optionsEnded || !looksLikeOption(word)) {
            line.m_arguments.append(word);
            continue;
        }
        if (word == QLatin1StringView("--")) {
            optionsEnded = true;
            continue;
        }
        const qsizetype equals = word.indexOf(QLatin1Char('='));
        const QString name = word.left(equals);
        const Option* option = find(name, options);
        if (!option)
            return Failure::withReason(unknownOption(name, options));
        QString value = equals < 0 ? QString() : word.mid(equals + 1);
        if (option->takesValue && equals < 0) {
            if (++i == words.size())
                return Failure::withReason(QStringLiteral("option %1 needs a value").arg(name));
            value = words[i];
        } else if (!option->takesValue && equals >= 0) {
            return Failure::withReason(QStringLiteral("option %1 takes no value").arg(name));
        }
        line.m_options.insert(name, value);
    }
    return line;
}

std::optional<QString> CommandLine::value(const char* option) const
{
    const auto found = m_options.constFind(QLatin1StringView(option));
    return found == m_options.constEnd() ? std::nullopt : std::optional(found.value());
}

} // namespace kestrum
