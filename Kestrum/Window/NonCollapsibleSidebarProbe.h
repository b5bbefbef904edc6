// SPDX-License-Identifier: MIT
#pragma once

#include <QWidget>

namespace kestrum {

/// An invisible widget that prevents the first column of a split view from collapsing when the divider is dragged or the window
/// is made small. The widget must be a descendant of that column. The widget searches for the split view once, on the next turn
/// of the event loop, when the widget is in the window. Without a split view it does nothing.
class NonCollapsibleSidebarProbe final : public QWidget {
    Q_OBJECT
public:
    explicit NonCollapsibleSidebarProbe(QWidget* parent = nullptr);

private:
    void pin() const;
};

} // namespace kestrum
