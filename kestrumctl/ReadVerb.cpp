// SPDX-License-Identifier: MIT
#include "Platform/Store/SettingsText.h"
#include "kestrumctl/JsonText.h"
#include "kestrumctl/KeyCatalogue.h"
#include "kestrumctl/Verb.h"

namespace kestrum {

namespace {

constexpr Option readVerbOptions[] = { { "--stored" } };

ExitCode runRead(const CommandLine& line)
{
    const UserDefaults& store = KeyCatalogue::openedStore();
    const bool onlyStored = line.has("--stored");
    const QJsonObject values = onlyStored ? store.storedDictionary() : store.dictionary();
    // If the settings file cannot be read, no empty result is printed. With the defaults, the values in effect remain valid.
    if (onlyStored && !store.lastError().isEmpty())
        return Console::failed(store.lastError());
    if (line.arguments().isEmpty())
        return Console::print(SettingsText::serialised(values));

    const QString& key = line.arguments().first();
    const auto found = values.find(key);
    if (found != values.end())
        return Console::print(JsonText::compact(found.value()) + '\n');
    if (const auto reason = KeyCatalogue::unknownKey(key, store))
        return Console::wrongUse(*reason);
    return Console::failed(
        QStringLiteral("%1 is %2").arg(key, QLatin1StringView(onlyStored ? "not stored" : "absent")));
}

} // namespace

const Verb readVerb {
    .name = "read",
    .parameters = "[KEY] [--stored]",
    .summary = "print settings as JSON",
    .details
    = R"(Prints the value in effect of KEY as JSON, or all settings in effect as one object. What is in effect is
the stored value, else the administrator's, else the factory default.

  --stored  look only at what is stored

Exit code 1, without output, when KEY has no value; 2 when there is no such key.
)",
    .run = runRead,
    .options = readVerbOptions,
    .mostArguments = 1,
    .listsKeys = true,
};

} // namespace kestrum
