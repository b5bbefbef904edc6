#pragma once

#include <QAccessibleWidget>

namespace kestrum {

/// Makes every widget of a class a group to assistive programs, which they would pass over otherwise: what stands in it is heard
/// with the name of the widget. Further calls change nothing.
template <class Widget> void groupForAssistance()
{
    static const bool isInstalled = [] {
        QAccessible::installFactory([](const QString&, QObject* object) -> QAccessibleInterface* {
            auto* widget = qobject_cast<Widget*>(object);
            return widget ? new QAccessibleWidget(widget, QAccessible::Grouping) : nullptr;
        });
        return true;
    }();
    Q_UNUSED(isInstalled)
}

} // namespace kestrum
