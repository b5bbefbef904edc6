// SPDX-License-Identifier: MIT
#include "kestrumctl/KeyCatalogue.h"
#include "kestrumctl/Verb.h"

namespace kestrum {

namespace {

ExitCode runDelete(const CommandLine& line)
{
    UserDefaults& store = KeyCatalogue::openedStore();
    const QString& key = line.arguments().first();
    if (const auto reason = KeyCatalogue::unknownKey(key, store))
        return Console::wrongUse(*reason);
    if (!store.remove(key.toStdString()))
        return Console::failed(store.lastError());
    return ExitCode::done;
}

} // namespace

const Verb deleteVerb {
    .name = "delete",
    .parameters = "KEY",
    .summary = "remove what is stored under a key",
    .details
    = R"(Removes what is stored under KEY, so that its default is in effect again. A key that stores nothing is
left as it is, which is no failure. Exit code 2 when there is no such key.
)",
    .run = runDelete,
    .fewestArguments = 1,
    .mostArguments = 1,
    .listsKeys = true,
};

} // namespace kestrum
