// SPDX-License-Identifier: MIT
#include "Platform/Log/Log.h"
#include "Platform/Processes/StopRequest.h"
#include "kestrumctl/JsonText.h"
#include "kestrumctl/KeyCatalogue.h"
#include "kestrumctl/Verb.h"

#include <QCoreApplication>
#include <QObject>

namespace kestrum {

namespace {

// Returns a line for each of `keys` whose value differs between `now` and `last`, and updates `last`. Equal values have been
// printed after an earlier signal.
QByteArray changes(const QStringList& keys, const QJsonObject& now, QJsonObject& last)
{
    QByteArray lines;
    for (const QString& key : keys) {
        const QJsonValue value = now.value(key);
        if (value == last.value(key))
            continue;
        last.insert(key, value); // an absent value removes the key
        // A key can be any text and may contain a line end.
        lines += Log::escapedWhole(key).toUtf8() + '\t'
            + (value.isUndefined() ? QByteArray("absent") : JsonText::compact(value)) + '\n';
    }
    return lines;
}

ExitCode runWatch(const CommandLine&)
{
    UserDefaults& store = KeyCatalogue::openedStore();
    const StopRequest stop;
    QObject::connect(
        &stop, &StopRequest::requested, QCoreApplication::instance(), [] { QCoreApplication::exit(0); });

    QJsonObject last;
    QObject::connect(&store, &UserDefaults::changed, &stop, [&store, &last](const QStringList& keys) {
        const QByteArray lines = changes(keys, store.dictionary(), last);
        if (lines.isEmpty())
            return;
        const ExitCode code = Console::print(lines);
        if (code != ExitCode::done)
            QCoreApplication::exit(static_cast<int>(code));
    });
    // The values are read after the signal is connected, so that no later change is lost.
    last = store.dictionary();
    Console::note("watching");
    return static_cast<ExitCode>(QCoreApplication::exec());
}

} // namespace

const Verb watchVerb {
    .name = "watch",
    .summary = "print every change of a setting",
    .details
    = R"(Prints "KEY<TAB>JSON", or "KEY<TAB>absent", for each key whose value in effect changed, whoever changed it,
until it is interrupted or terminated. Says "watching" on standard error once nothing is missed any more.
)",
    .run = runWatch,
};

} // namespace kestrum
