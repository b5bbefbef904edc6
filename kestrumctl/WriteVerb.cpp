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
    .name = "write",
    .parameters = "KEY JSON [--force]",
    .summary = "store a setting",
    .details = R"(Stores a JSON value under KEY. A text stands in double quotes inside the shell's own:

  kestrumctl write meterStyle '"wave"'
  kestrumctl write showMemoryItem false

A text that is none of the key's choices is stored too: it reads as the default.

  --force  store also a value of another type, and under a key that is not listed below

Exit code 2, with nothing stored, when KEY, the JSON text or the value's type is wrong; 1 when the save
failed.
)",
    .run = runWrite,
    .options = writeOptions,
    .fewestArguments = 2,
    .mostArguments = 2,
    .listsKeys = true,
};

} // namespace kestrum
