#include "Platform/Log/Log.h"
#include "Platform/Processes/StopRequest.h"
#include "kestrumctl/JsonText.h"
#include "kestrumctl/KeyCatalogue.h"
#include "kestrumctl/Verb.h"

#include <QCoreApplication>
#include <QObject>

namespace kestrum {

namespace {

// A line for every key whose value is another one in `now`; keys are in alphabetical order.
QByteArray changes(const QJsonObject& before, const QJsonObject& now)
{
    QStringList keys = before.keys();
    for (const QString& key : now.keys()) {
        if (!before.contains(key))
            keys.append(key);
    }
    keys.sort();
    QByteArray lines;
    for (const QString& key : keys) {
        const QJsonValue value = now.value(key);
        if (value == before.value(key))
            continue;
        // Any text can be a key, also one that ends a line.
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
    QObject::connect(&store, &UserDefaults::changed, &stop, [&store, &last] {
        const QJsonObject now = store.dictionary();
        const QByteArray lines = changes(last, now);
        last = now;
        if (lines.isEmpty())
            return;
        const ExitCode code = Console::print(lines);
        if (code != ExitCode::done)
            QCoreApplication::exit(static_cast<int>(code));
    });
    // Only now, so that no change falls between the first look and the first notice.
    last = store.dictionary();
    Console::note("watching");
    return static_cast<ExitCode>(QCoreApplication::exec());
}

} // namespace

const Verb watchVerb {
    "watch",
    "",
    "print every change of a setting",
    "Prints \"KEY<TAB>JSON\", or \"KEY<TAB>absent\", for each key whose value in effect changed, whoever "
    "changed it,\n"
    "until it is interrupted or terminated. Says \"watching\" on standard error once nothing is missed any "
    "more.\n",
    {},
    0,
    0,
    false,
    false,
    runWatch,
};

} // namespace kestrum
