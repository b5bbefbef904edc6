// SPDX-License-Identifier: MIT
#include "Platform/Store/SettingsText.h"
#include "kestrumctl/DataFile.h"
#include "kestrumctl/KeyCatalogue.h"
#include "kestrumctl/Verb.h"

namespace kestrum {

namespace {

ExitCode runExport(const CommandLine& line)
{
    const UserDefaults& store = KeyCatalogue::openedStore();
    const QJsonObject values = store.storedDictionary();
    // If the settings cannot be read, an empty file must not be exported.
    if (!store.lastError().isEmpty())
        return Console::failed(store.lastError());
    const auto written = DataFile::write(line.arguments().first(), SettingsText::serialised(values));
    return written ? ExitCode::done : Console::failed(written.failureText());
}

} // namespace

const Verb exportVerb {
    .name = "export",
    .parameters = "FILE",
    .summary = "keep the stored settings in a file",
    .details
    = R"(Writes everything that is stored to FILE as one JSON object, a key a line; "-" is standard output. Defaults
are not written.
)",
    .run = runExport,
    .fewestArguments = 1,
    .mostArguments = 1,
};

} // namespace kestrum
