// SPDX-License-Identifier: MIT
#include "Platform/Log/Log.h"
#include "Platform/Store/SettingsText.h"
#include "kestrumctl/DataFile.h"
#include "kestrumctl/KeyCatalogue.h"
#include "kestrumctl/Verb.h"

namespace kestrum {

namespace {

constexpr Option importOptions[] = { { "--force" } };

// Prints the values whose keys take another type; false if there are any. All values of unknown keys are accepted, because
// such keys may belong to another version.
bool areStorable(const QJsonObject& values)
{
    bool storable = true;
    for (auto value = values.begin(); value != values.end(); ++value) {
        if (!KeyCatalogue::contains(value.key()))
            continue;
        if (const auto reason = KeyCatalogue::refusal(value.key(), value.value())) {
            Console::failed(*reason);
            storable = false;
        }
    }
    return storable;
}

ExitCode runImport(const CommandLine& line)
{
    const QString& path = line.arguments().first();
    const auto refused = [&path](const QString& reason) {
        return Console::failed(
            QStringLiteral("nothing imported from \"%1\": %2").arg(Log::escaped(path), reason));
    };
    const auto content = DataFile::read(path, SettingsText::maximumBytes);
    if (!content)
        return Console::failed(content.failureText());
    // The parser accepts an empty file, which is valid as a new store. An empty file for import is a mistake.
    if (content->trimmed().isEmpty())
        return refused(QStringLiteral("it is empty"));
    const SettingsText::Parsed parsed = SettingsText::parsed(*content);
    if (!parsed.damage.isEmpty())
        return refused(parsed.damage);
    if (!line.has("--force") && !areStorable(parsed.values))
        return refused(QStringLiteral("--force stores such values all the same"));

    UserDefaults& store = KeyCatalogue::openedStore();
    if (!store.apply(parsed.values, {}))
        return Console::failed(store.lastError());
    return ExitCode::done;
}

} // namespace

const Verb importVerb {
    .name = "import",
    .parameters = "FILE [--force]",
    .summary = "store all settings of a file",
    .details
    = R"(Stores every key of the JSON object in FILE, all of them or none; "-" is standard input. Stored keys that
FILE does not name stay as they are. Keys that this version does not know are stored too.

  --force  store also values of another type than their keys take

Exit code 1 when FILE cannot be read, is not a JSON object of at most 1 MiB or holds a value of the wrong type,
and when the save failed.
)",
    .run = runImport,
    .options = importOptions,
    .fewestArguments = 1,
    .mostArguments = 1,
};

} // namespace kestrum
