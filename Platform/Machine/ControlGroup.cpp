// SPDX-License-Identifier: MIT
#include "Platform/Machine/ControlGroup.h"

#include <QByteArrayList>
#include <algorithm>
#include <optional>

// The names of groups are those of systemd's units, "NAME.scope", "NAME.service" and "NAME.slice". Within NAME, a dash
// separates, and "\x2d" is a dash that does not. The standard for desktops gives applications these names:
//
//   app[-LAUNCHER]-ID-RANDOM.scope
//   app[-LAUNCHER]-ID[@RANDOM].service
//   app[-LAUNCHER]-ID.slice

namespace kestrum {
namespace {

using GroupKind = ControlGroup::Kind;

bool isHex(QByteArrayView text)
{
    return !text.isEmpty() && std::all_of(text.begin(), text.end(), [](char c) {
        return (c >= '0' && c <= '9') || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
    });
}

// Undoes "\xNN".
QString unescaped(QByteArrayView text)
{
    QByteArray plain;
    for (qsizetype i = 0; i < text.size(); ++i) {
        if (text[i] == '\\' && text.size() - i >= 4 && text[i + 1] == 'x' && isHex(text.sliced(i + 2, 2))) {
            plain += char(text.sliced(i + 2, 2).toInt(nullptr, 16));
            i += 3;
        } else {
            plain += text[i];
        }
    }
    return QString::fromUtf8(plain);
}

// The text after `prefix`; nothing for any other text.
std::optional<QByteArrayView> after(QByteArrayView prefix, QByteArrayView text)
{
    return text.startsWith(prefix) ? std::optional(text.sliced(prefix.size())) : std::nullopt;
}

// Removes `suffix`; returns whether it was there.
bool takeSuffix(QByteArrayView suffix, QByteArrayView& text)
{
    const bool isThere = text.endsWith(suffix);
    if (isThere)
        text.chop(suffix.size());
    return isThere;
}

QByteArrayView upTo(char separator, QByteArrayView text)
{
    const qsizetype end = text.indexOf(separator);
    return end < 0 ? text : text.first(end);
}

// The id in "[LAUNCHER-]ID". Some launchers do not escape the dashes of the id.
QString idAfterLauncher(QByteArrayView text)
{
    const qsizetype dash = text.indexOf('-');
    return unescaped(dash < 0 ? text : text.sliced(dash + 1));
}

// Removes the last part after a dash, which only makes the name unique.
QByteArrayView withoutRandom(QByteArrayView text)
{
    const qsizetype dash = text.lastIndexOf('-');
    return dash < 0 ? text : text.first(dash);
}

// A container or machine, whose own groups below it do not matter.
std::optional<ControlGroup> containerOf(QByteArrayView part)
{
    static constexpr qsizetype idLength = 64;
    if (const auto name = after("lxc.payload.", part))
        return ControlGroup { GroupKind::machine, QString::fromUtf8(*name) };
    // Without systemd, some name the group by the whole id.
    if (part.size() == idLength && isHex(part))
        return ControlGroup { GroupKind::container, QString::fromLatin1(part) };
    if (!takeSuffix(".scope", part))
        return std::nullopt;
    if (const auto name = after("machine-", part))
        return ControlGroup { GroupKind::machine, unescaped(*name) };
    for (const QByteArrayView prefix :
        { "libpod-conmon-", "libpod-", "docker-", "crio-conmon-", "crio-", "cri-containerd-" }) {
        if (const auto id = after(prefix, part))
            return ControlGroup { GroupKind::container, QString::fromLatin1(*id) };
    }
    return std::nullopt;
}

std::optional<ControlGroup> scope(QByteArrayView name)
{
    if (const auto app = after("app-", name))
        return ControlGroup { GroupKind::app, idAfterLauncher(withoutRandom(*app)) };
    if (const auto app = after("flatpak-", name))
        return ControlGroup { GroupKind::app, unescaped(withoutRandom(*app)) };
    if (const auto snap = after("snap.", name)) {
        // "NAME.APP-UUID". The desktop entry is "NAME_APP".
        QByteArray id = upTo('-', *snap).toByteArray();
        static constexpr qsizetype idLength = 36;
        if (snap->size() > idLength + 1)
            id = snap->chopped(idLength + 1).toByteArray();
        return ControlGroup { GroupKind::app, QString::fromUtf8(id.replace('.', '_')) };
    }
    // Other scopes are made for what is started in a login session or a terminal.
    return ControlGroup();
}

std::optional<ControlGroup> service(QByteArrayView name, bool isOfSystem)
{
    if (name.startsWith("user@") || name.startsWith("run-"))
        return ControlGroup();
    const QByteArrayView plain = upTo('@', name);
    if (const auto app = after("app-", plain))
        return ControlGroup { GroupKind::app, idAfterLauncher(*app) };
    // "dbus-:1.37-ID": an application that the session's bus started.
    if (const auto app = after("dbus-:", plain))
        return ControlGroup { GroupKind::app, idAfterLauncher(*app) };
    return ControlGroup { isOfSystem ? GroupKind::system : GroupKind::service, unescaped(plain) };
}

// The application of a slice. A slice without a dot in its id holds many: "app-graphical.slice".
std::optional<ControlGroup> slice(QByteArrayView name)
{
    const auto app = after("app-", name);
    if (!app || !app->contains('.'))
        return std::nullopt;
    return ControlGroup { GroupKind::app, idAfterLauncher(*app) };
}

} // namespace

QByteArrayView ControlGroup::pathIn(QByteArrayView content)
{
    // Lines are "NUMBER:CONTROLLERS:PATH". The unified hierarchy has number 0 and no controllers. Where systemd does not
    // use it, all processes are at its root.
    QByteArrayView unified;
    QByteArrayView named;
    while (!content.isEmpty()) {
        QByteArrayView line = upTo('\n', content);
        content = content.sliced(std::min(content.size(), line.size() + 1));
        // Added after the group was removed.
        takeSuffix(" (deleted)", line);
        if (const auto path = after("0::", line))
            unified = *path;
        else if (const qsizetype at = line.indexOf(":name=systemd:"); at >= 0)
            named = line.sliced(at + qsizetype(std::size(":name=systemd:")) - 1);
    }
    return unified.size() > 1 || named.isEmpty() ? unified : named;
}

ControlGroup ControlGroup::parsed(QByteArrayView path)
{
    const QByteArrayList parts = path.toByteArray().split('/');
    for (const QByteArray& part : parts) {
        if (const auto found = containerOf(part); found && !found->name.isEmpty())
            return *found;
    }
    const bool isOfSystem = parts.value(1) == "system.slice";
    std::optional<ControlGroup> best;
    for (auto part = parts.rbegin(); part != parts.rend(); ++part) {
        QByteArrayView name = *part;
        if (takeSuffix(".slice", name)) {
            // A helper service of an application, such as a terminal's server, counts as the application.
            if (const auto app = slice(name); app && (!best || best->kind == GroupKind::service))
                best = app;
        } else if (!best && takeSuffix(".scope", name)) {
            best = scope(name);
        } else if (!best && takeSuffix(".service", name)) {
            best = service(name, isOfSystem);
        }
    }
    return best && !best->name.isEmpty() ? *best : ControlGroup();
}

} // namespace kestrum
