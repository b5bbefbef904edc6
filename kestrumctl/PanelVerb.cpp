// SPDX-License-Identifier: MIT
#include "Platform/Desktop/PanelAddition.h"
#include "Platform/Log/Log.h"
#include "kestrumctl/NearestNames.h"
#include "kestrumctl/PanelAgent.h"
#include "kestrumctl/Verb.h"

#include <QCoreApplication>
#include <QTimer>

namespace kestrum {

namespace {

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

ExitCode runPanel(const CommandLine& line)
{
    const QString& word = line.arguments().constFirst();
    const QStringList words { QStringLiteral("status"), QStringLiteral("add"), QStringLiteral("remove") };
    if (!words.contains(word))
        return Console::wrongUse(NearestNames::unknown("request", word, words));
    const auto part = PanelAddition::ofDesktop();
    return word == words[0] ? status(part.get()) : change(part.get(), word == words[1]);
}

} // namespace

const Verb panelVerb {
    .name = "panel",
    .parameters = "status|add|remove",
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
)",
    .run = runPanel,
    .fewestArguments = 1,
    .mostArguments = 1,
    .needsSuite = false,
};

} // namespace kestrum
