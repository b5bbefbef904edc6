// SPDX-License-Identifier: MIT
#include "kestrumctl/CommandLine.h"

#include "Platform/Machine/CoreTopology.h"
#include "fuzz/FuzzTarget.h"
#include "kestrumctl/CoresOption.h"
#include "kestrumctl/JsonText.h"
#include "kestrumctl/KeyCatalogue.h"
#include "kestrumctl/Verb.h"

#include <utility>

namespace kestrum {

namespace {

void readsAsVerb(const Verb& verb, const QStringList& words)
{
    const auto line = CommandLine::parsed(words, verb.options);
    if (!line) {
        expect(!line.failureText().isEmpty(), "a refusal has a reason");
        return;
    }
    expect(line->arguments().size() <= words.size(), "arguments are words");
    for (const Option& option : verb.options)
        expect(line->has(option.name) == line->value(option.name).has_value(),
            "an option that is there has a value");
    if (!line->has(CoresOption::option.name))
        return;
    if (CoresOption::apply(*line)) {
        for (const CoreTier& tier : CoreTopology::tiers())
            expect(tier.count >= 1 && !tier.name.isEmpty(), "a tier has cores and a name");
    }
    CoreTopology::useTiers({});
}

void readsAsValue(const QString& word)
{
    const auto value = JsonText::parsed(word);
    if (!value)
        return;
    const auto again = JsonText::parsed(QString::fromUtf8(JsonText::compact(*value)));
    expect(again && *again == *value, "a value reads back");
    expect(JsonText::shortened(*value).size() <= 61, "a shortened value is short");
    for (const CatalogueKey& key : KeyCatalogue::keys())
        expect(KeyCatalogue::refusal(key.name, *value).has_value() == (value->type() != key.type),
            "a key takes values of its type only");
}

// A word a line.
void runCommandLine(std::string_view input)
{
    const QStringList words = QString::fromUtf8(bytes(input)).split(u'\n');
    // Which options there are is of no meaning after the end of options.
    const auto plain = CommandLine::parsed(QStringList(QStringLiteral("--")) + words, {});
    expect(plain && plain->arguments() == words, "after the options' end, all words are arguments");
    bool isPlainRead = false;
    for (const Verb* verb : allVerbs()) {
        // Verbs without options read their words alike.
        if (!verb->options.empty() || !std::exchange(isPlainRead, true))
            readsAsVerb(*verb, words);
    }
    readsAsValue(words.first());
}

const FuzzTarget commandLineTarget("CommandLine", runCommandLine);

} // namespace
} // namespace kestrum
