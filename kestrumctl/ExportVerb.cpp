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
    // A file that cannot be read must not be exported as an empty one.
    if (!store.lastError().isEmpty())
        return Console::failed(store.lastError());
    const auto written = DataFile::write(line.arguments().first(), SettingsText::serialised(values));
    return written ? ExitCode::done : Console::failed(written.failureText());
}

} // namespace

const Verb exportVerb {
    "export",
    "FILE",
    "keep the stored settings in a file",
    "Writes everything that is stored to FILE as one JSON object, a key a line; \"-\" is standard output. "
    "Defaults\n"
    "are not written.\n",
    {},
    1,
    1,
    false,
    false,
    runExport,
};

} // namespace kestrum
