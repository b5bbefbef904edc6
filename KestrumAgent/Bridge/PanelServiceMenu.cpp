// SPDX-License-Identifier: MIT
// What panels' own menus do: the entries, and the order of the items.

#include "KestrumAgent/Bridge/PanelService.h"

#include "KestrumAgent/Panel/PanelStrip.h"
#include "KestrumShared/Settings/MeterSettings.h"
#include "KestrumShared/Settings/SharedSettings.h"
#include "KestrumShared/Text/AppLanguage.h"
#include "Platform/Desktop/WindowActivation.h"

#include <QAction>
#include <QDBusMessage>
#include <QMenu>
#include <algorithm>

namespace kestrum {

namespace {

constexpr QLatin1StringView moveLeft("move-left");
constexpr QLatin1StringView moveRight("move-right");

} // namespace

/// A token goes into the environment of programs. What is longer than any desktop's own is taken for none.
QByteArray PanelService::usableToken(const QString& token)
{
    return token.size() <= longestToken ? token.toUtf8() : QByteArray();
}

QList<PanelMenuEntry> PanelService::Actions(const QString& item)
{
    QList<PanelMenuEntry> entries;
    const auto section = fromRawValue<MonitorSection>(item);
    const QList<MonitorSection> sections = m_strip.items().sections();
    if (section && sections.contains(*section)) {
        entries.append({ moveLeft, AppLanguage::string("Move Left"), *section != sections.first() });
        entries.append({ moveRight, AppLanguage::string("Move Right"), *section != sections.last() });
        entries.append({ {}, {}, false });
    }
    Q_EMIT m_menu.aboutToShow();
    for (const QAction* action : m_menu.actions()) {
        const bool isSeparator = action->isSeparator();
        entries.append({ isSeparator ? QString() : action->objectName(),
            isSeparator ? QString() : action->text(), !isSeparator && action->isEnabled() });
    }
    return entries;
}

void PanelService::Choose(const QString& action, const QString& item, const QString& token)
{
    if (action == moveLeft || action == moveRight) {
        if (const auto section = fromRawValue<MonitorSection>(item))
            move(*section, action == moveLeft ? -1 : 1);
        return;
    }
    if (action == m_requested)
        m_requestWait.stop();
    Q_EMIT m_menu.aboutToShow();
    QAction* chosen = m_menu.findChild<QAction*>(action);
    const bool isForMenu = !action.isEmpty() && chosen && chosen->isEnabled();
    if (!isForMenu && action != systemMonitorAction)
        return;
    WindowActivation::giveToken(usableToken(token));
    if (isForMenu)
        chosen->trigger();
    else
        Q_EMIT systemMonitorChosen();
    WindowActivation::takeToken();
}

void PanelService::move(MonitorSection section, int step)
{
    QList<MonitorSection> sections = m_strip.items().sections();
    const qsizetype from = sections.indexOf(section);
    const qsizetype to = from + step;
    if (from < 0 || to < 0 || to >= sections.size())
        return;
    sections.swapItemsAt(from, to);
    if (MeterSettings::setMenuBarOrder(sections))
        SharedSettings::post(SharedSettings::Signal::menuBarChanged);
}

void PanelService::Reorder(const QStringList& items)
{
    const QList<MonitorSection> shown = m_strip.items().sections();
    QList<MonitorSection> sections;
    for (const QString& item : items) {
        if (const auto section = fromRawValue<MonitorSection>(item))
            sections.append(*section);
    }
    if (items.size() != sections.size()
        || !std::is_permutation(sections.begin(), sections.end(), shown.begin(), shown.end())) {
        if (calledFromDBus())
            sendErrorReply(
                QDBusError::InvalidArgs, QStringLiteral("the shown items are needed, each exactly once"));
        return;
    }
    if (MeterSettings::setMenuBarOrder(sections))
        SharedSettings::post(SharedSettings::Signal::menuBarChanged);
}

} // namespace kestrum
