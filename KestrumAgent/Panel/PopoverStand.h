// SPDX-License-Identifier: MIT
#pragma once

#include <QClipboard>
#include <QGuiApplication>
#include <QMargins>
#include <QObject>
#include <QRect>
#include <QSize>
#include <QToolTip>
#include <QWidget>

namespace kestrum {

class PanelStrip;

/// A channel's way to show one window beside an item of the strip: the popover's. The window takes the keyboard, but on
/// X11 never grabs it or the pointer, because then a screen locker could not lock the screen.
class PopoverStand : public QObject {
    Q_OBJECT
public:
    /// The distance of the window from the strip, and its least distance from the screen's edges, in points.
    static constexpr int stripDistance = 6;
    static constexpr int edgeDistance = 8;
    /// Finds out where a window can stand. To be called before the first `room` for a window that is not shown yet.
    virtual void prepare() { }
    /// Shows `window` beside `item`, a rectangle in the strip's coordinates. If the window is shown already, it gets its new
    /// size and place: call this function after each change of the size. `size` and the place do not count the window's
    /// contents margins, in which it may draw a shadow. The window must live until `hide`. A translucent one must have the
    /// attribute `WA_TranslucentBackground` before the first call.
    virtual void show(QWidget& window, QSize size, const QRect& item) = 0;
    virtual void hide() = 0;
    /// Gives the keyboard to the shown window, as far as the desktop permits: the user has asked for the window again.
    virtual void takeKeyboard() = 0;
    /// A pinned window stays when the user turns to something else. Until then it may keep the keyboard. `hide` ends the pin.
    virtual void setPinned(bool isPinned) = 0;
    /// The greatest height that a window can have, in points.
    virtual int room() const = 0;
    /// Shows `text` at a point of the window, until the pointer leaves `area`. An empty text hides it.
    virtual void showTip(QWidget& window, QPoint at, const QString& text, const QRect& area)
    {
        QToolTip::showText(window.mapToGlobal(at), text, &window, area);
    }
    /// The strip that windows stand beside; null for the one that all stands share.
    virtual PanelStrip* strip() const { return nullptr; }
    /// Whether the strip is not visible, so that the window itself must offer the way to the other sections.
    virtual bool isWithoutStrip() const { return false; }
    /// How much room around a translucent window is for a shadow that it draws, in points. None if somebody else draws one.
    virtual QMargins shadowRoom() const { return {}; }
    /// Whether the window can stay while the user turns to something else.
    virtual bool canPin() const { return true; }
    /// Puts `text` on the clipboard.
    virtual void copy(const QString& text) { QGuiApplication::clipboard()->setText(text); }

Q_SIGNALS:
    /// The user has turned to something else, or the window's screen is gone: the window is to be hidden.
    void dismissed();
    /// `room` may have another value now, or the window another place.
    void roomChanged();
    /// The user has pressed what stands for the strip.
    void toggleRequested();

protected:
    using QObject::QObject;

    /// All the room that a shadow wants, but none of what the strip has at that edge: its items would be darkened.
    static QMargins shadowRoomBeside(Qt::Edge strip)
    {
        constexpr int enough = 100;
        return { enough, strip == Qt::TopEdge ? stripDistance : enough, enough,
            strip == Qt::BottomEdge ? stripDistance : enough };
    }
};

} // namespace kestrum
