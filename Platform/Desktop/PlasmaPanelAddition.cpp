// SPDX-License-Identifier: MIT
#include "Platform/Desktop/PlasmaPanelAddition.h"

#include "Platform/Desktop/DesktopBus.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingReply>
#include <utility>

namespace kestrum {

namespace {

/// In ms. The shell answers only when it is not busy with something else, such as its own start.
constexpr int scriptTimeLimit = 10'000;

constexpr QLatin1StringView plasmaConnection("kestrum-plasma-shell");
constexpr QLatin1StringView widgetName("com.orvale.kestrum.panel");

/// What a script prints: one of these words.
constexpr QLatin1StringView thereWord("there");
constexpr QLatin1StringView absentWord("absent");
constexpr QLatin1StringView noPanelWord("no panel");

// In each script, WIDGET stands for the widget's name.

constexpr char lookScript[] = R"(
var all = panels();
var count = 0;
for (var i = 0; i < all.length; i++)
    count += all[i].widgets("WIDGET").length;
print(all.length == 0 ? "no panel" : count > 0 ? "there" : "absent");
)";

// The panel with the status icons is the one to use. A widget that is added at the icons' corner stands before them; without a
// place, the panel would put it first of all. The size that is told with the place has no effect.
constexpr char addScript[] = R"(
var all = panels();
var count = 0;
var panel = null;
var tray = null;
for (var i = 0; i < all.length; i++) {
    count += all[i].widgets("WIDGET").length;
    var trays = all[i].widgets("org.kde.plasma.systemtray");
    if (tray === null && trays.length > 0) {
        panel = all[i];
        tray = trays[0].geometry;
    }
}
if (all.length == 0) {
    print("no panel");
} else {
    if (count == 0) {
        panel = panel || all[0];
        if (tray)
            panel.addWidget("WIDGET", tray.x + 1, tray.y + 1, 10, 10);
        else
            panel.addWidget("WIDGET");
        count = panel.widgets("WIDGET").length;
    }
    print(count > 0 ? "there" : "absent");
}
)";

constexpr char removeScript[] = R"(
var all = panels();
for (var i = 0; i < all.length; i++) {
    var own = all[i].widgets("WIDGET");
    for (var k = 0; k < own.length; k++)
        own[k].remove();
}
print("absent");
)";

QString widgetFile()
{
    return QStringLiteral("plasma/plasmoids/%1/metadata.json").arg(widgetName);
}

} // namespace

PlasmaPanelAddition::~PlasmaPanelAddition()
{
    DesktopBus::leave(plasmaConnection, *this);
}

QString PlasmaPanelAddition::title() const
{
    return QStringLiteral("the widget ") + widgetName;
}

void PlasmaPanelAddition::evaluate(
    const char* script, const std::function<void(const Result<QString>&)>& answered)
{
    const auto ask = [this, script, answered](bool isJoined) {
        if (!isJoined) {
            answered(Failure::withReason(QStringLiteral("the session bus does not answer")));
            return;
        }
        QDBusMessage call = QDBusMessage::createMethodCall(QStringLiteral("org.kde.plasmashell"),
            QStringLiteral("/PlasmaShell"), QStringLiteral("org.kde.PlasmaShell"),
            QStringLiteral("evaluateScript"));
        call << QString::fromLatin1(script).replace(QLatin1StringView("WIDGET"), widgetName);
        DesktopBus::call(
            plasmaConnection, call, this,
            [answered](const QDBusPendingReply<QString>& reply) {
                if (reply.isError())
                    answered(Failure::withReason(reply.error().message().simplified())
                                 .about(QStringLiteral("plasmashell")));
                else
                    answered(reply.value().trimmed());
            },
            scriptTimeLimit);
    };
    const QString address = DesktopBus::address();
    if (address.isEmpty() || QDBusConnection(plasmaConnection).isConnected()) {
        ask(!address.isEmpty());
        return;
    }
    QDBusConnection::disconnectFromBus(plasmaConnection);
    DesktopBus::join(address, plasmaConnection, this, ask);
}

void PlasmaPanelAddition::look(Looked looked)
{
    if (!isInstalled(widgetFile())) {
        looked(State { Presence::uninstalled, false, {} });
        return;
    }
    evaluate(lookScript, [looked = std::move(looked)](const Result<QString>& printed) {
        if (!printed)
            looked(printed.failure());
        else if (*printed == noPanelWord)
            looked(State { Presence::unneeded, false, {} });
        else if (*printed == thereWord || *printed == absentWord)
            looked(State { *printed == thereWord ? Presence::added : Presence::missing, false, {} });
        else
            looked(Failure::withReason(QStringLiteral("plasmashell's answer is not understood")));
    });
}

void PlasmaPanelAddition::change(const char* script, Changed changed)
{
    evaluate(script, [script, changed = std::move(changed)](const Result<QString>& printed) {
        if (!printed)
            changed(printed.failure());
        else if (*printed == noPanelWord)
            changed(Failure::withReason(QStringLiteral("this desktop has no panel")));
        else if (*printed != (script == addScript ? thereWord : absentWord))
            changed(Failure::withReason(QStringLiteral("plasmashell has not changed its panel")));
        else
            changed(Effect::now);
    });
}

void PlasmaPanelAddition::add(Changed changed)
{
    if (isInstalled(widgetFile()))
        change(addScript, std::move(changed));
    else
        changed(uninstalled());
}

void PlasmaPanelAddition::remove(Changed changed)
{
    change(removeScript, std::move(changed));
}

} // namespace kestrum
