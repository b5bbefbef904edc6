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
    "delete",
    "KEY",
    "remove what is stored under a key",
    "Removes what is stored under KEY, so that its default is in effect again. A key that stores nothing is\n"
    "left as it is, which is no failure. Exit code 2 when there is no such key.\n",
    {},
    1,
    1,
    true,
    false,
    runDelete,
};

} // namespace kestrum
