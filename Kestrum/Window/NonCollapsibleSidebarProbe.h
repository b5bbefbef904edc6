// SPDX-License-Identifier: MIT
#pragma once

#include <QWidget>

namespace kestrum {

/// An invisible widget that prevents the first column of a split view from being collapsed, by dragging the divider or by making the
/// window small. It is a descendant of that column. It looks for the split view once, on the next turn of the event loop, when
/// it is in the window. Without a split view it does nothing.
class NonCollapsibleSidebarProbe final : public QWidget {
    Q_OBJECT
public:
    explicit NonCollapsibleSidebarProbe(QWidget* parent = nullptr);

private:
    void pin() const;
};

} // namespace kestrum
