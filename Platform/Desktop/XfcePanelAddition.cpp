// SPDX-License-Identifier: MIT
#include "Platform/Desktop/XfcePanelAddition.h"

#include "Platform/Processes/ProgramRun.h"

#include <QMap>
#include <QRegularExpression>
#include <algorithm>
#include <utility>

namespace kestrum {

namespace {

constexpr QLatin1StringView xfconfProgram("xfconf-query");
constexpr QLatin1StringView squareKey("/square-icons");
constexpr QLatin1StringView squareBeforeKey("/kestrum-square-icons");

QStringList xfconfArguments(const QStringList& arguments)
{
    return QStringList { QStringLiteral("-c"), QStringLiteral("xfce4-panel") } + arguments;
}

QStringList settingRun(const QString& property, bool value)
{
    // "-n" and the type make the property if it is not there.
    return xfconfArguments(
        { QStringLiteral("-p"), property, QStringLiteral("-n"), QStringLiteral("-t"), QStringLiteral("bool"),
            QStringLiteral("-s"), value ? QStringLiteral("true") : QStringLiteral("false") });
}

QStringList resetRun(const QString& property)
{
    return xfconfArguments({ QStringLiteral("-p"), property, QStringLiteral("-r") });
}

QString noTrayText()
{
    return QStringLiteral("the panel has no place for status icons");
}

} // namespace

QString XfcePanelAddition::title() const
{
    return QStringLiteral("status icons that may be wider than high");
}

void XfcePanelAddition::read(std::function<void(const Result<QList<Tray>>&)> answered)
{
    const auto ended = [answered = std::move(answered)](const Result<QByteArray>& printed) {
        if (!printed) {
            answered(printed.failure());
            return;
        }
        // Each line is a property and its value, with blanks between.
        static const QRegularExpression row(QStringLiteral("^(/plugins/plugin-\\d+)(/\\S+)?\\s+(.*)$"));
        QMap<QString, QMap<QString, QString>> plugins;
        for (const QByteArray& line : printed->split('\n')) {
            const auto match = row.match(QString::fromUtf8(line).trimmed());
            if (match.hasMatch())
                plugins[match.captured(1)][match.captured(2)] = match.captured(3);
        }
        QList<Tray> trays;
        for (auto plugin = plugins.cbegin(); plugin != plugins.cend(); ++plugin) {
            if (plugin->value(QString()) != QLatin1StringView("systray"))
                continue;
            Tray tray { plugin.key(), plugin->value(squareKey) == QLatin1StringView("true"), std::nullopt };
            if (plugin->contains(squareBeforeKey))
                tray.before = plugin->value(squareBeforeKey) == QLatin1StringView("true");
            trays.append(tray);
        }
        answered(trays);
    };
    ProgramRun::start(xfconfProgram,
        xfconfArguments(
            { QStringLiteral("-p"), QStringLiteral("/plugins"), QStringLiteral("-l"), QStringLiteral("-v") }),
        this, ended);
}

void XfcePanelAddition::write(const QList<QStringList>& changes, Changed changed)
{
    ProgramRun::startInTurn(
        xfconfProgram, changes, this, [changed = std::move(changed)](const Result<QByteArray>& printed) {
            changed(printed ? Result<Effect>(Effect::now) : printed.failure());
        });
}

void XfcePanelAddition::look(Looked looked)
{
    read([looked = std::move(looked)](const Result<QList<Tray>>& trays) {
        if (!trays) {
            looked(trays.failure());
            return;
        }
        const auto any = [&trays](auto&& is) { return std::any_of(trays->begin(), trays->end(), is); };
        if (trays->isEmpty())
            looked(State { Presence::uninstalled, false, noTrayText() });
        else if (any([](const Tray& tray) { return tray.isSquare; }))
            looked(State { Presence::missing, false, {} });
        else if (any([](const Tray& tray) { return tray.before.has_value(); }))
            looked(State { Presence::added, false, {} });
        else
            looked(State { Presence::unneeded, false, {} });
    });
}

void XfcePanelAddition::add(Changed changed)
{
    read([this, changed = std::move(changed)](const Result<QList<Tray>>& trays) {
        if (!trays) {
            changed(trays.failure());
            return;
        }
        if (trays->isEmpty()) {
            changed(Failure::withReason(noTrayText()));
            return;
        }
        QList<QStringList> changes;
        for (const Tray& tray : *trays) {
            if (!tray.isSquare)
                continue;
            changes.append(settingRun(tray.path + squareBeforeKey, true));
            changes.append(settingRun(tray.path + squareKey, false));
        }
        write(changes, changed);
    });
}

void XfcePanelAddition::remove(Changed changed)
{
    read([this, changed = std::move(changed)](const Result<QList<Tray>>& trays) {
        if (!trays) {
            changed(trays.failure());
            return;
        }
        QList<QStringList> changes;
        for (const Tray& tray : *trays) {
            if (!tray.before)
                continue;
            changes.append(settingRun(tray.path + squareKey, *tray.before));
            changes.append(resetRun(tray.path + squareBeforeKey));
        }
        write(changes, changed);
    });
}

} // namespace kestrum
