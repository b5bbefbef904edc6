// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumAgent/Panel/DockStand.h"

#include <QMenu>
#include <QWidget>
#include <memory>

namespace kestrum {

/// Shows a menu beside a strip that is a window of its own. The toolkit's own menus grab the keyboard and the pointer, so the
/// screen could not be locked while one is open. Here the menu is the content of a window that grabs nothing.
class MenuWindow final : public QObject {
    Q_OBJECT
public:
    /// The strip and the menu must outlive this object.
    MenuWindow(PanelStrip& strip, QMenu& menu);
    ~MenuWindow() override;

    void setGround(const QRect& strip, const QRect& free) { m_stand.setGround(strip, free); }
    /// Opens the menu below `x`, in the strip's coordinates. An open menu is closed first.
    void open(int x);
    void close();

private:
    bool eventFilter(QObject* watched, QEvent* event) override;

    QMenu& m_menu;
    PanelStrip& m_strip;
    DockStand m_stand;
    std::unique_ptr<QWidget> m_window;
};

} // namespace kestrum
