// SPDX-License-Identifier: MIT
#include "KestrumShared/Settings/SharedSettings.h"
#include "Platform/Desktop/ToolkitStart.h"
#include "Platform/Log/Log.h"
#include "kestrumctl/NearestNames.h"
#include "kestrumctl/Verb.h"

#include <QCoreApplication>
#include <QGuiApplication>
#include <memory>

namespace kestrum {

namespace {

// Opens no display unless QT_QPA_PLATFORM is set: items are drawn into images.
std::unique_ptr<QCoreApplication> makeApplication(const Verb& verb, int& argc, char** argv)
{
    if (!verb.draws)
        return std::make_unique<QCoreApplication>(argc, argv);
    if (!qEnvironmentVariableIsSet("QT_QPA_PLATFORM"))
        qputenv("QT_QPA_PLATFORM", "offscreen");
    const ToolkitStart start;
    return std::make_unique<QGuiApplication>(argc, argv);
}

ExitCode wrongCall(const Verb& verb, const QString& reason)
{
    return Console::wrongUse(QStringLiteral("%1: %2 (\"kestrumctl %1 --help\" tells more)")
                                 .arg(QLatin1StringView(verb.name), reason));
}

ExitCode run(const Verb& verb, const QStringList& words, char** argv)
{
    const auto line = CommandLine::parsed(words, verb.options);
    if (!line)
        return wrongCall(verb, line.failureText());
    if (line->has("--help"))
        return Console::print(usage(verb));
    const qsizetype count = line->arguments().size();
    if (count < verb.fewestArguments || count > verb.mostArguments) {
        return wrongCall(verb,
            QStringLiteral("too %1 arguments; it takes %2")
                .arg(count < verb.fewestArguments ? QStringLiteral("few") : QStringLiteral("many"),
                    *verb.parameters ? QLatin1StringView(verb.parameters) : QLatin1StringView("none")));
    }
    // With a refused suite name, the process would use its own domain, which no other program reads.
    if (const QString refusal = verb.needsSuite ? SharedSettings::refusal() : QString(); !refusal.isEmpty())
        return Console::failed(refusal);
    // Qt gets only the program's name, because the other words, such as "-platform", belong to the verb.
    int argc = 1;
    const auto application = makeApplication(verb, argc, argv);
    return verb.run(*line);
}

ExitCode run(QStringList words, char** argv)
{
    if (words.isEmpty())
        return Console::wrongUse(QStringLiteral("a verb is missing (\"kestrumctl --help\" lists them)"));
    const QString first = words.takeFirst();
    if (first == QLatin1StringView("--help"))
        return Console::print(programUsage());
    if (first == QLatin1StringView("--version"))
        return Console::print("kestrumctl " KESTRUM_VERSION "\n");
    QStringList names;
    for (const Verb* verb : allVerbs()) {
        names.append(QLatin1StringView(verb->name));
        if (names.last() == first)
            return run(*verb, words, argv);
    }
    return Console::wrongUse(NearestNames::unknown("verb", first, names));
}

} // namespace
} // namespace kestrum

int main(int argc, char** argv)
{
    kestrum::Log::install();
    QStringList words;
    for (int i = 1; i < argc; ++i)
        words.append(QString::fromLocal8Bit(argv[i]));
    return static_cast<int>(kestrum::run(words, argv));
}
