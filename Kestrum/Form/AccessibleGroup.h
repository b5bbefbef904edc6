// SPDX-License-Identifier: MIT
#pragma once

#include <QAccessibleWidget>

namespace kestrum {

/// Makes every widget of a class a group for assistive programs: they ignore plain widgets, but read a group's name together
/// with its contents. `role` may be a role other than group. Call this first in the constructor of the class, because it must
/// run before assistive programs get such a widget. Further calls change nothing.
template <class Widget, QAccessible::Role role = QAccessible::Grouping> void groupForAssistance()
{
    static const bool isInstalled = [] {
        QAccessible::installFactory([](const QString&, QObject* object) -> QAccessibleInterface* {
            auto* widget = qobject_cast<Widget*>(object);
            return widget ? new QAccessibleWidget(widget, role) : nullptr;
        });
        return true;
    }();
    Q_UNUSED(isInstalled)
}

} // namespace kestrum
