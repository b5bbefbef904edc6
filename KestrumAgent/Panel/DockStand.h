// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumAgent/Panel/PopoverStand.h"
#include "Platform/Desktop/X11Presses.h"

#include <QPointer>
#include <memory>

namespace kestrum {

class PanelStrip;

/// Shows a window beside an item of a strip that stands as a window of its own. The window is no popup of the toolkit, which
/// would grab the keyboard and the pointer: presses elsewhere are heard by `X11Presses`. The window is also dismissed when the
/// user gives the keyboard to another program. Where the focus follows the pointer, a move of the pointer may have done that:
/// so the window stays if the pointer has meanwhile gone to where neither the window nor the strip is. It also stays on a change
/// of the virtual desktop if the window manager lets it keep the focus, as openbox does.
class DockStand : public PopoverStand {
    Q_OBJECT
public:
    /// `strip` must outlive the stand.
    explicit DockStand(PanelStrip& strip);

    /// Tells where the strip's window stands on the screen, and the part of this screen that panels leave free. The strip
    /// itself may not know its place: where a window manager puts a frame around it, the toolkit can miss a move.
    void setGround(const QRect& strip, const QRect& free);

    void show(QWidget& window, QSize size, const QRect& item) override;
    void hide() override;
    void takeKeyboard() override;
    void setPinned(bool isPinned) override { m_isPinned = isPinned; }
    int room() const override;
    QMargins shadowRoom() const override;
    PanelStrip* strip() const override { return &m_strip; }

    /// The place of a window of `size` beside `item`: below the strip, or above it if the strip is in the lower half of
    /// `free`. All rectangles are in the same coordinates.
    static QRect place(QSize size, const QRect& item, const QRect& strip, const QRect& free);

protected:
    bool isShown() const { return m_window; }
    QSize groundSize() const { return m_ground.size(); }

private:
    void open(QWidget& window);
    void judge(QPoint place, Qt::MouseButton button);
    void judgeFocus();
    void correctPlace();
    QRect body() const;
    bool eventFilter(QObject* watched, QEvent* event) override;

    PanelStrip& m_strip;
    QRect m_ground; ///< the strip's place
    QRect m_free;
    QPointer<QWidget> m_window;
    QRect m_place;    ///< where the window was put; the window manager may have put it elsewhere
    QPoint m_pointer; ///< where the pointer was when the window got the keyboard
    std::unique_ptr<X11Presses> m_presses; ///< while the window is shown
    bool m_isPinned = false;
};

} // namespace kestrum
