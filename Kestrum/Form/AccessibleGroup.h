#pragma once

#include <QAccessibleWidget>

namespace kestrum {

/// Makes every widget of a class a group to assistive programs, which they would pass over otherwise: what stands in it is heard
/// with the name of the widget. Another role than that of a group may be given. Called before such a widget is told about, so
/// first thing in its constructor; further calls change nothing.
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
