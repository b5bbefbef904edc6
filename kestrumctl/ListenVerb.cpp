// SPDX-License-Identifier: MIT
#include "KestrumShared/Settings/SignalListener.h"
#include "Platform/Log/Log.h"
#include "Platform/Processes/StopRequest.h"
#include "kestrumctl/SignalNames.h"
#include "kestrumctl/Verb.h"

#include <QCoreApplication>
#include <QTimer>
#include <limits>

namespace kestrum {

namespace {

constexpr Option listenOptions[] = { { "--count", true }, { "--timeout", true } };

constexpr double longestTimeout = 1'000'000; // seconds, so that the milliseconds fit an int

struct Limits {
    int deliveries = 0;   ///< 0: no limit
    int milliseconds = 0; ///< 0: no limit
};

Result<Limits> limitsOf(const CommandLine& line)
{
    Limits limits;
    bool isNumber = true;
    if (const auto text = line.value("--count")) {
        limits.deliveries = text->toInt(&isNumber);
        if (!isNumber || limits.deliveries < 1)
            return Failure::withReason(
                QStringLiteral("--count takes a whole number above 0, not \"%1\"").arg(Log::escaped(*text)));
    }
    if (const auto text = line.value("--timeout")) {
        const double seconds = text->toDouble(&isNumber);
        if (!isNumber || !(seconds > 0 && seconds <= longestTimeout))
            return Failure::withReason(
                QStringLiteral("--timeout takes seconds above 0 and up to 1000000, not \"%1\"")
                    .arg(Log::escaped(*text)));
        limits.milliseconds = qMax(1, qRound(seconds * 1000));
    }
    return limits;
}

ExitCode runListen(const CommandLine& line)
{
    const auto heard = SignalNames::parsed(line.arguments());
    if (!heard)
        return Console::wrongUse(heard.failureText());
    const auto limits = limitsOf(line);
    if (!limits)
        return Console::wrongUse(limits.failureText());
    if (const QString obstacle = SignalNames::obstacle(); !obstacle.isEmpty())
        return Console::failed(obstacle);

    const StopRequest stop;
    QObject::connect(
        &stop, &StopRequest::requested, QCoreApplication::instance(), [] { QCoreApplication::exit(0); });

    int deliveries = 0;
    SignalListener listener;
    for (const SharedSettings::Signal signal : *heard) {
        listener.listen(signal, [&deliveries, signal, most = limits->deliveries] {
            // More deliveries than requested may arrive before the program ends.
            if (most > 0 && deliveries == most)
                return;
            ++deliveries;
            const ExitCode code = Console::print(rawValue(signal).toUtf8() + '\n');
            if (code != ExitCode::done || deliveries == most)
                QCoreApplication::exit(static_cast<int>(code));
        });
    }
    if (listener.tokens().size() < heard->size())
        return Console::failed(QStringLiteral("cannot listen in the suite \"%1\"")
                                   .arg(Log::escaped(SharedSettings::suiteName())));

    if (limits->milliseconds > 0) {
        const ExitCode code = limits->deliveries > 0 ? ExitCode::failed : ExitCode::done;
        QTimer::singleShot(limits->milliseconds, Qt::PreciseTimer, QCoreApplication::instance(),
            [code] { QCoreApplication::exit(static_cast<int>(code)); });
    }
    Console::note("listening");
    return static_cast<ExitCode>(QCoreApplication::exec());
}

} // namespace

const Verb listenVerb {
    .name = "listen",
    .parameters = "SIGNAL... [--count N] [--timeout SECONDS]",
    .summary = "print every delivery of signals",
    .details
    = R"(Prints a line with the signal's name for each delivery, until it is interrupted or terminated. Posts that follow
each other quickly may arrive as one. Says "listening" on standard error once nothing is missed any more.
"kestrumctl post --help" lists the signals.

  --count N          stop after N deliveries
  --timeout SECONDS  stop after so long, with exit code 1 when N deliveries were asked for
)",
    .run = runListen,
    .options = listenOptions,
    .fewestArguments = 1,
    .mostArguments = std::numeric_limits<qsizetype>::max(),
};

} // namespace kestrum
