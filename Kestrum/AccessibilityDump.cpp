// SPDX-License-Identifier: MIT
#include "Kestrum/AccessibilityDump.h"

#include <QAccessible>
#include <QMetaEnum>

namespace kestrum {

namespace {

QString role(QAccessible::Role role)
{
    return QString::fromLatin1(QMetaEnum::fromType<QAccessible::Role>().valueToKey(role));
}

QStringList states(const QAccessible::State& state)
{
    const std::pair<bool, const char*> all[] = {
        { state.checked, "checked" },
        { state.selected, "selected" },
        { state.disabled, "disabled" },
        { state.focusable, "focusable" },
        { state.expandable, "expandable" },
        { state.expanded, "expanded" },
    };
    QStringList names;
    for (const auto& [isSet, name] : all) {
        if (isSet)
            names.append(QString::fromLatin1(name));
    }
    return names;
}

void append(QString& lines, QAccessibleInterface& from, int depth)
{
    const QAccessible::State state = from.state();
    if (state.invisible)
        return;
    const QString name = from.text(QAccessible::Name);
    QStringList details { from.text(QAccessible::Value), from.text(QAccessible::Description) };
    details.removeDuplicates();
    const bool isFrame = name.isEmpty() && !state.focusable;
    if (!isFrame) {
        lines += QString(2 * depth, u' ') + role(from.role()) + QStringLiteral(" \"") + name + u'"';
        for (const QString& detail : details) {
            if (!detail.isEmpty() && detail != name)
                lines += QStringLiteral(" = \"%1\"").arg(detail);
        }
        if (const QStringList set = states(state); !set.isEmpty())
            lines += QStringLiteral(" [%1]").arg(set.join(u' '));
        lines += u'\n';
    }
    for (int i = 0; i < from.childCount(); ++i) {
        if (QAccessibleInterface* child = from.child(i))
            append(lines, *child, depth + (isFrame ? 0 : 1));
    }
}

} // namespace

QString AccessibilityDump::text(QAccessibleInterface& from)
{
    QString lines;
    append(lines, from, 0);
    return lines;
}

} // namespace kestrum
