// SPDX-License-Identifier: MIT
#include "Platform/LoginItem/AutostartRules.h"

#include "fuzz/FuzzTarget.h"

namespace kestrum {

namespace {

constexpr char onlyKey[] = "OnlyShowIn";
constexpr char notKey[] = "NotShowIn";

QByteArrayList desktopsIn(const DesktopEntry& entry, const char* key)
{
    QByteArrayList list = entry.value(key).value_or(QByteArray()).split(';');
    list.removeAll(QByteArray());
    return list;
}

/// Whether a desktop of this one name shows the entry.
bool isShown(const DesktopEntry& entry, const QByteArray& desktop)
{
    return desktopsIn(entry, onlyKey).contains(desktop)
        || (!desktopsIn(entry, notKey).contains(desktop) && !entry.value(onlyKey));
}

/// All but the two lists.
QByteArray otherLines(DesktopEntry entry)
{
    entry.remove(onlyKey);
    entry.remove(notKey);
    return entry.text();
}

// The names of this desktop, a line of a single "=", then the entry.
void runAutostartRules(std::string_view input)
{
    const auto texts = parts(input, 2);
    // Variables have no zeros.
    const QByteArray told = bytes(texts[0].substr(0, texts[0].find('\0')));
    qputenv("XDG_CURRENT_DESKTOP", told);
    const DesktopEntry before = DesktopEntry::parsed(bytes(texts[1]));
    DesktopEntry after = before;
    AutostartRules::showHere(after);
    expect(otherLines(after) == otherLines(before), "all other lines stay");
    const DesktopEntry read = DesktopEntry::parsed(after.text());
    for (const char* key : { onlyKey, notKey })
        expect(read.value(key) == after.value(key), "a list reads back");
    DesktopEntry again = read;
    AutostartRules::showHere(again);
    expect(again.text() == after.text(), "an entry that is shown here stays as it is");
    const QByteArrayList here = told.split(':');
    for (const QByteArray& desktop :
        desktopsIn(before, onlyKey) + desktopsIn(before, notKey) + QByteArrayList { "Elsewhere" }) {
        // The first of a list loses its blanks, so no desktop has any.
        if (desktop == desktop.trimmed() && !here.contains(desktop))
            expect(isShown(after, desktop) == isShown(before, desktop), "other desktops treat it as before");
    }
    if (here == QByteArrayList { "GNOME" })
        expect(isShown(after, "GNOME"), "this desktop shows it");
}

const FuzzTarget autostartRulesTarget("AutostartRules", runAutostartRules);

} // namespace
} // namespace kestrum
