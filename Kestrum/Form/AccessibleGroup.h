// SPDX-License-Identifier: MIT
#pragma once

#include <QAccessibleWidget>

namespace kestrum {

/// Gives every widget of the class `Widget` an accessible interface, an `Interface` constructed from the widget. Call this first
/// in the constructor of `Widget`: assistive programs must not get a widget earlier. Further calls change nothing.
template <class Widget, class Interface> void setAccessibleInterface()
{
    static const bool isInstalled = [] {
        QAccessible::installFactory([](const QString&, QObject* object) -> QAccessibleInterface* {
            auto* widget = qobject_cast<Widget*>(object);
            return widget ? new Interface(widget) : nullptr;
        });
        return true;
    }();
    Q_UNUSED(isInstalled)
}

/// Makes every widget of the class `Widget` a group for assistive programs, which ignore plain widgets, but read a group's name
/// together with its contents. `kind` may be another role. Call this function like `setAccessibleInterface`.
template <class Widget, QAccessible::Role kind = QAccessible::Grouping> void groupForAssistance()
{
    struct Group : QAccessibleWidget {
        explicit Group(Widget* widget)
            : QAccessibleWidget(widget, kind)
        {
        }
    };
    setAccessibleInterface<Widget, Group>();
}

} // namespace kestrum
