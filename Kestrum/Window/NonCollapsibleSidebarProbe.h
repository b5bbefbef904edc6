#pragma once

#include <QWidget>

namespace kestrum {

/// An invisible widget that, put anywhere into a split view's first column, keeps that column from being
/// collapsed: by dragging the divider or by making the window small. It looks for the split view once, on the
/// next turn of the event loop, when it has found its place in the window; where there is none, nothing
/// happens.
class NonCollapsibleSidebarProbe final : public QWidget {
    Q_OBJECT
public:
    explicit NonCollapsibleSidebarProbe(QWidget* parent = nullptr);

private:
    void pin() const;
};

} // namespace kestrum
