// SPDX-License-Identifier: MIT
#include "KestrumShared/Items/StatusMetricView.h"
#include "Platform/Desktop/PanelAddition.h"
#include "Platform/Files/RuntimeDirectory.h"
#include "Platform/Log/Log.h"
#include "Platform/Processes/StopRequest.h"
#include "kestrumctl/FilesBridge.h"
#include "kestrumctl/NearestNames.h"
#include "kestrumctl/PanelAgent.h"
#include "kestrumctl/Verb.h"

#include <QCoreApplication>
#include <QRegularExpression>
#include <QTimer>

namespace kestrum {

namespace {

constexpr Option panelOptions[]
    = { { "--png" }, { "--scale", true }, { "--height", true }, { "--foreground", true } };

/// The agent takes no others.
constexpr double leastScale = 0.5;
constexpr double greatestScale = 4;

using Presence = PanelAddition::Presence;

QByteArray presenceName(Presence presence)
{
    switch (presence) {
    case Presence::unneeded:
        return "unneeded";
    case Presence::uninstalled:
        return "uninstalled";
    case Presence::missing:
        return "missing";
    case Presence::added:
        return "added";
    }
    return {};
}

void finishPanel(ExitCode code)
{
    QCoreApplication::exit(static_cast<int>(code));
}

/// Runs the event loop after `begin` has been called in it. What `begin` asks for has time limits, and its answers end the loop.
ExitCode runInLoop(const std::function<void()>& begin)
{
    QTimer::singleShot(0, QCoreApplication::instance(), begin);
    return static_cast<ExitCode>(QCoreApplication::exec());
}

QByteArray statusLine(const char* name, const QString& value)
{
    return QByteArray(name) + '\t' + (value.isEmpty() ? QByteArray("-") : Log::escapedWhole(value).toUtf8())
        + '\n';
}

void printStatus(const QString& shownBy, const PanelAddition* part, const PanelAddition::State& state)
{
    const ExitCode code = Console::print(statusLine("shownBy", shownBy)
        + statusLine("desktop", part ? part->desktop() : QString())
        + statusLine("part", part ? part->title() : QString()) + "state\t" + presenceName(state.presence)
        + '\n');
    if (!state.obstacle.isEmpty())
        Console::note(Log::escapedWhole(state.obstacle).toUtf8().constData());
    else if (state.isPending)
        Console::note("the panel shows it from the next login on");
    else if (state.presence == Presence::uninstalled)
        Console::note(Log::escapedWhole(part->uninstalled().text()).toUtf8().constData());
    else if (state.presence == Presence::unneeded && shownBy == QLatin1StringView("nothing"))
        Console::note(
            "this desktop has no place for the items; a panel with status icons would show them, and a bar "
            "that shows pictures does by \"kestrumctl panel --png\"");
    finishPanel(code);
}

ExitCode status(PanelAddition* part)
{
    QObject context;
    return runInLoop([part, &context] {
        PanelAgent::askWhatShowsItems(&context, [part](const QString& shownBy) {
            if (!part) {
                printStatus(shownBy, nullptr, {});
                return;
            }
            part->look([part, shownBy](const Result<PanelAddition::State>& state) {
                if (state)
                    printStatus(shownBy, part, *state);
                else
                    finishPanel(Console::failed(state.failureText()));
            });
        });
    });
}

ExitCode change(PanelAddition* part, bool isAdded)
{
    if (!part) {
        Console::note("this desktop's panel needs nothing");
        return ExitCode::done;
    }
    return runInLoop([part, isAdded] {
        const auto changed = [](const Result<PanelAddition::Effect>& effect) {
            if (!effect) {
                finishPanel(Console::failed(effect.failureText()));
                return;
            }
            if (*effect == PanelAddition::Effect::atNextLogin)
                Console::note("the panel shows it from the next login on");
            finishPanel(ExitCode::done);
        };
        if (isAdded)
            part->add(changed);
        else
            part->remove(changed);
    });
}

/// What the agent is to be told of the place where the pictures are shown.
Result<QVariantMap> lookOf(const CommandLine& line)
{
    QVariantMap look { { QStringLiteral("scale"), 1.0 } };
    bool isNumber = true;
    if (const auto text = line.value("--scale")) {
        const double scale = text->toDouble(&isNumber);
        if (!isNumber || !(scale >= leastScale && scale <= greatestScale))
            return Failure::withReason(
                QStringLiteral("--scale takes a number from 0.5 to 4, not \"%1\"").arg(Log::escaped(*text)));
        look[QStringLiteral("scale")] = scale;
    }
    if (const auto text = line.value("--height")) {
        const int height = text->toInt(&isNumber);
        const double scale = height / StatusMetricView::height;
        if (!isNumber || !(scale >= leastScale && scale <= greatestScale))
            return Failure::withReason(
                QStringLiteral("--height takes pixels from 11 to 88, not \"%1\"").arg(Log::escaped(*text)));
        look[QStringLiteral("scale")] = scale;
    }
    if (const auto text = line.value("--foreground")) {
        static const QRegularExpression colour(QStringLiteral("^#[0-9A-Fa-f]{6}$"));
        if (!colour.match(*text).hasMatch())
            return Failure::withReason(QStringLiteral("--foreground takes a colour like #dfdfdf, not \"%1\"")
                                           .arg(Log::escaped(*text)));
        look.insert(QStringLiteral("foreground"), *text);
    }
    return look;
}

ExitCode showAsFiles(const CommandLine& line)
{
    const auto look = lookOf(line);
    if (!look)
        return Console::wrongUse(look.failureText());
    QString directory = line.arguments().value(0);
    if (directory.isEmpty()) {
        const auto& runtime = RuntimeDirectory::shared();
        if (!runtime)
            return Console::failed(runtime.failureText());
        directory = runtime->path() + QStringLiteral("/panel");
    }
    const StopRequest stop;
    QObject::connect(
        &stop, &StopRequest::requested, QCoreApplication::instance(), [] { QCoreApplication::exit(0); });
    FilesBridge bridge(directory, *look);
    QObject::connect(&bridge, &FilesBridge::ready, [] { Console::note("waiting for items"); });
    QObject::connect(&bridge, &FilesBridge::refused,
        [](const QString& reason) { Console::note(Log::escaped(reason).toUtf8().constData()); });
    QObject::connect(&bridge, &FilesBridge::failed,
        [](const QString& reason) { finishPanel(Console::failed(Log::escaped(reason))); });
    return runInLoop([&bridge] { bridge.start(); });
}

ExitCode runPanel(const CommandLine& line)
{
    if (line.has("--png"))
        return showAsFiles(line);
    for (const Option& option : panelOptions) {
        if (line.has(option.name))
            return Console::wrongUse(QStringLiteral("%1 needs --png").arg(QLatin1StringView(option.name)));
    }
    const QStringList words { QStringLiteral("status"), QStringLiteral("add"), QStringLiteral("remove") };
    const QString word = line.arguments().value(0);
    if (word.isEmpty())
        return Console::wrongUse(
            QStringLiteral("panel takes %1, or --png").arg(words.join(QStringLiteral(", "))));
    if (!words.contains(word))
        return Console::wrongUse(NearestNames::unknown("request", word, words));
    const auto part = PanelAddition::ofDesktop();
    return word == words[0] ? status(part.get()) : change(part.get(), word == words[1]);
}

} // namespace

const Verb panelVerb {
    .name = "panel",
    .parameters = "status|add|remove|--png [DIR] [--scale N] [--height PIXELS] [--foreground #RRGGBB]",
    .summary = "put the items into the desktop's panel",
    .details
    = R"(Tells what shows the items, and adds to the panel of the running desktop what it needs to show them, or removes
that. XDG_CURRENT_DESKTOP names the desktop.

  GNOME     an extension of the shell; one that was installed after the login shows at the next one
  Plasma    a widget beside the status icons
  Cinnamon  an applet beside the status icons
  Xfce      status icons that may be wider than high; "remove" puts the value from before back
  others    nothing: the items stand where the desktop has a place for them

"status" prints lines of a name, a tab and a value:

  shownBy  the panels that show the items, "notification-area", "status-icon", "strip" or "nothing";
           "-" when no agent runs on this session's bus
  desktop  the desktop's name; "-" for one that needs nothing
  part     what its panel needs
  state    unneeded, uninstalled, missing (it could be added) or added

Nothing else of the desktop's is changed. Exit code 1, with the reason, when that cannot be done.

With --png, the items are files for bars that show pictures, until it is interrupted or terminated: in DIR,
else in kestrum/panel below XDG_RUNTIME_DIR, are NAME.png and NAME.txt of each item (cpu, memory, storage,
sensors), and strip.png with all of them. Files are replaced as a whole, when they change. While no agent
runs, there are none. Meanwhile the agent shows the items nowhere else. "kestrumctl popover NAME", as the
bar's command for a click, opens a popover at the pointer. Says "waiting for items" on standard error once it
has joined the session bus.

  --scale N             pixels for each point, from 0.5 to 4; 1 by default
  --height PIXELS       instead: the pictures' height
  --foreground #RRGGBB  the bar's colour of texts; by default, the desktop's appearance decides
)",
    .run = runPanel,
    .options = panelOptions,
    .mostArguments = 1,
    .needsSuite = false,
};

} // namespace kestrum
