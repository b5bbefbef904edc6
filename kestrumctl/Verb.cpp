// SPDX-License-Identifier: MIT
#include "kestrumctl/Verb.h"

#include "kestrumctl/KeyCatalogue.h"

namespace kestrum {

std::span<const Verb* const> allVerbs()
{
    static constexpr const Verb* verbs[] = { &readVerb, &writeVerb, &deleteVerb, &watchVerb, &exportVerb,
        &importVerb, &postVerb, &listenVerb, &agentsVerb, &agentVerb, &panelVerb, &popoverVerb, &describeVerb,
        &renderVerb, &openVerb, &loginItemVerb };
    return verbs;
}

QByteArray programUsage()
{
    QByteArray text
        = "Usage: kestrumctl VERB [ARGUMENT...]\n"
          "\n"
          "Reads, writes and watches Kestrum's settings, posts and hears its signals, draws its\n"
          "menu-bar items, puts them into the panel, switches its agent, opens its popovers, and\n"
          "starts applications.\n"
          "\n"
          "Verbs:\n";
    for (const Verb* verb : allVerbs())
        text += "  " + QByteArray(verb->name).leftJustified(12) + verb->summary + '\n';
    return text
        + "\n"
          "\"kestrumctl VERB --help\" tells more about a verb; \"kestrumctl --version\" prints the version.\n"
          "KESTRUM_SETTINGS_SUITE names another suite of settings and signals than the user's own.\n"
          "Exit codes: 0 done, 1 failed, 2 wrong use.\n";
}

QByteArray usage(const Verb& verb)
{
    QByteArray text = QByteArray("Usage: kestrumctl ") + verb.name + ' ' + verb.parameters;
    text = text.trimmed() + "\n\n" + verb.details;
    if (verb.listsKeys) {
        text += "\nKeys:\n";
        for (const CatalogueKey& key : KeyCatalogue::keys())
            text += "  " + key.name.toUtf8().leftJustified(30) + KeyCatalogue::description(key.type) + '\n';
    }
    return text;
}

} // namespace kestrum
