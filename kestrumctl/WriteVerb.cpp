// SPDX-License-Identifier: MIT
#include "kestrumctl/JsonText.h"
#include "kestrumctl/KeyCatalogue.h"
#include "kestrumctl/Verb.h"

namespace kestrum {

namespace {

constexpr Option writeOptions[] = { { "--force" } };

ExitCode runWrite(const CommandLine& line)
{
    const QString& key = line.arguments()[0];
    const auto value = JsonText::parsed(line.arguments()[1]);
    if (!value)
        return Console::wrongUse(value.failureText());
    if (!line.has("--force")) {
        if (const auto reason = KeyCatalogue::refusal(key, *value))
            return Console::wrongUse(*reason + QStringLiteral(" (--force stores it all the same)"));
    }
    UserDefaults& store = KeyCatalogue::openedStore();
    if (!store.set(key.toStdString(), *value))
        return Console::failed(store.lastError());
    return ExitCode::done;
}

} // namespace

const Verb writeVerb {
    "write",
    "KEY JSON [--force]",
    "store a setting",
    "Stores a JSON value under KEY. A text stands in double quotes inside the shell's own:\n"
    "\n"
    "  kestrumctl write meterStyle '\"wave\"'\n"
    "  kestrumctl write showMemoryItem false\n"
    "\n"
    "A text that is none of the key's choices is stored too: it reads as the default.\n"
    "\n"
    "  --force  store also a value of another type, and under a key that is not listed below\n"
    "\n"
    "Exit code 2, with nothing stored, when KEY, the JSON text or the value's type is wrong; 1 when the "
    "save\n"
    "failed.\n",
    writeOptions,
    2,
    2,
    true,
    false,
    runWrite,
};

} // namespace kestrum
