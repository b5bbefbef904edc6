// SPDX-License-Identifier: MIT
#include "Platform/Desktop/CinnamonPanelAddition.h"

#include "Platform/Desktop/DesktopSettings.h"

#include <algorithm>
#include <utility>

namespace kestrum {

namespace {

constexpr QLatin1StringView appletName("kestrum@orvale.com");
constexpr QLatin1StringView cinnamonSchema("org.cinnamon");
constexpr QLatin1StringView appletsKey("enabled-applets");
constexpr QLatin1StringView nextNumberKey("next-applet-id");

/// An entry of the list is "PANEL:ZONE:PLACE:APPLET:NUMBER". Older lists have no number.
constexpr qsizetype panelField = 0;
constexpr qsizetype nameField = 3;
constexpr qsizetype numberField = 4;

/// The fields of an entry; empty for one that is not understood. A mark before the name, "!", makes the desktop load an applet
/// for another version.
QStringList appletFields(const QString& entry)
{
    QStringList fields = entry.split(u':');
    if (fields.size() <= nameField)
        return {};
    if (fields[nameField].startsWith(u'!'))
        fields[nameField].remove(0, 1);
    return fields;
}

QString appletFile()
{
    return QStringLiteral("cinnamon/applets/%1/metadata.json").arg(appletName);
}

bool isOurApplet(const QString& entry)
{
    return appletFields(entry).value(nameField) == appletName;
}

bool hasOurApplet(const QStringList& list)
{
    return std::any_of(list.begin(), list.end(), isOurApplet);
}

/// The beginning of an entry for an applet beside the status icons: a place can be held twice, and so nobody else's entry
/// changes. Without status icons, the place is the first one at the end of the panel.
QString placeBesideIcons(const QStringList& list)
{
    for (const QString& entry : list) {
        const QStringList found = appletFields(entry);
        const QString kind = found.value(nameField);
        if (kind == QLatin1StringView("systray@cinnamon.org")
            || kind == QLatin1StringView("xapp-status@cinnamon.org"))
            return found.first(nameField).join(u':');
    }
    for (const QString& entry : list) {
        if (const QStringList found = appletFields(entry); !found.isEmpty())
            return found[panelField] + QStringLiteral(":right:0");
    }
    return QStringLiteral("panel1:right:0");
}

} // namespace

QString CinnamonPanelAddition::title() const
{
    return QStringLiteral("the applet ") + appletName;
}

void CinnamonPanelAddition::read(std::function<void(const Result<Applets>&)> answered)
{
    DesktopSettings::read(cinnamonSchema, this,
        [answered = std::move(answered)](const Result<DesktopSettings::Values>& values) {
            if (!values) {
                answered(values.failure());
                return;
            }
            const auto list = DesktopSettings::list(values->value(appletsKey));
            if (!list) {
                answered(
                    Failure::withReason(QStringLiteral("the desktop's list of applets is not understood")));
                return;
            }
            // No number may be taken twice, even if the desktop's count is damaged.
            qint64 next = std::max(0, values->value(nextNumberKey).toInt());
            for (const QString& entry : *list)
                next = std::max(next, qint64(appletFields(entry).value(numberField).toInt()) + 1);
            answered(Applets { *list, next });
        });
}

void CinnamonPanelAddition::write(const Applets& before, const Applets& after, Changed changed)
{
    QList<std::pair<QString, QByteArray>> values;
    // The count comes first: the desktop counts on by itself as soon as it sees the list.
    if (after.nextNumber != before.nextNumber)
        values.append({ nextNumberKey, QByteArray::number(after.nextNumber) });
    if (after.list != before.list)
        values.append({ appletsKey, DesktopSettings::text(after.list) });
    const bool isWanted = hasOurApplet(after.list);
    DesktopSettings::write(
        cinnamonSchema, values, this, [this, isWanted, changed = std::move(changed)](const Result<>& done) {
            if (!done) {
                changed(done.failure());
                return;
            }
            read([isWanted, changed](const Result<Applets>& now) {
                if (!now)
                    changed(now.failure());
                else if (hasOurApplet(now->list) != isWanted)
                    changed(DesktopSettings::notKept());
                else
                    changed(Effect::now);
            });
        });
}

void CinnamonPanelAddition::look(Looked looked)
{
    if (!isInstalled(appletFile())) {
        looked(State { Presence::uninstalled, false, {} });
        return;
    }
    read([looked = std::move(looked)](const Result<Applets>& applets) {
        if (!applets) {
            looked(applets.failure());
            return;
        }
        const bool isAdded = hasOurApplet(applets->list);
        looked(State { isAdded ? Presence::added : Presence::missing, false, {} });
    });
}

void CinnamonPanelAddition::add(Changed changed)
{
    if (!isInstalled(appletFile())) {
        changed(uninstalled());
        return;
    }
    read([this, changed = std::move(changed)](const Result<Applets>& before) {
        if (!before) {
            changed(before.failure());
            return;
        }
        Applets after = *before;
        if (!hasOurApplet(after.list)) {
            after.list.append(QStringLiteral("%1:%2:%3")
                                  .arg(placeBesideIcons(after.list), appletName)
                                  .arg(after.nextNumber));
            ++after.nextNumber;
        }
        write(*before, after, changed);
    });
}

void CinnamonPanelAddition::remove(Changed changed)
{
    read([this, changed = std::move(changed)](const Result<Applets>& before) {
        if (!before) {
            changed(before.failure());
            return;
        }
        Applets after = *before;
        after.list.removeIf(isOurApplet);
        write(*before, after, changed);
    });
}

} // namespace kestrum
