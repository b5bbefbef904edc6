// SPDX-License-Identifier: MIT
#pragma once

#include <QAccessibleWidget>

namespace kestrum {

/// Makes every widget of a class a group for assistive programs, which ignore plain widgets: its contents are read together with
/// its name. A role other than that of a group can be given. Must be called before such a widget is first reported to them, so
/// first in its constructor. Further calls change nothing.
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
