// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumAgent/Popover/PopoverFocus.h"
#include "KestrumAgent/Popover/PopoverLayout.h"

#include <QWidget>

namespace kestrum {

/// The window of a popover: draws its parts and hands on what the user does with them. `PopoverController` gives it its
/// content and place. The sections scroll if the window must be lower than its content; the header stays.
class PopoverWindow final : public QWidget {
    Q_OBJECT
public:
    using Path = PopoverLayout::Path;

    /// The sizes of texts that make the popover larger than at scale 1, and its greatest scale.
    static constexpr double usualTextSize = 13.33;
    static constexpr double greatestScale = 1.5;

    explicit PopoverWindow(QWidget* parent = nullptr);

    /// How much room around the popover the window may take for its shadow, as contents margins, from the next `setContent`
    /// on. At first none. Only a translucent window can have a shadow.
    void setShadowRoom(const QMargins& room) { m_shadowRoom = room; }

    /// The scale of popovers for a desktop with texts of that size in pixels.
    static double scaleFor(double textSize);

    /// Sets what is to be shown, and returns the area that looks different now. Size and repainting are left to the caller. The
    /// pointer in `environment` is ignored: the window knows where the pointer is.
    QRegion setContent(const PopoverPanel& panel, const PanelEnvironment& environment, double scale);
    /// The colours of what was set.
    ColourScheme scheme() const { return m_environment.scheme; }
    /// Begins at the top and without a focus, as a popover that has just opened.
    void startAnew();

    /// The size for the whole content, but not higher than `room` points. The contents margins come on top.
    QSize sizeFor(int room) const;
    const PopoverLayout& layout() const { return m_layout; }
    const PopoverFocus& focus() const { return m_focus; }
    /// The place of an element in the window.
    QRectF rectOf(const Path& path) const;
    double scrolled() const { return m_scrolled; }

    /// Does what a press on the element does.
    void press(const Path& path);
    /// Gives the element the focus, as Tab does, and scrolls it into view.
    void setFocusOn(const Path& path);

Q_SIGNALS:
    /// The user has pressed an element with this action, or a key for it.
    void acted(const PanelAction& action);
    void closeRequested();
    /// The user wants the popover of the neighbour: +1 to the right, −1 to the left.
    void neighbourRequested(int step);
    void menuRequested();
    /// The user wants `text` on the clipboard.
    void copied(const QString& text);
    /// The pointer rests at `at`. `text` is empty if nothing is to be told of the element in `area`.
    void tipRequested(QPoint at, const QString& text, QRect area);
    /// Whether the user is about to use a row, so that rows should keep their places.
    void listHeld(bool isHeld);

protected:
    void paintEvent(QPaintEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void contextMenuEvent(QContextMenuEvent* event) override;
    void enterEvent(QEnterEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void moveEvent(QMoveEvent* event) override;
    bool event(QEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    bool focusNextPrevChild(bool) override { return false; } // Tab moves the popover's own focus

private:
    bool moveBy(const QKeyEvent& event);
    bool act(const QKeyEvent& event);
    void copy();
    QRegion changedSince(const PopoverLayout& before, const PanelPointer& pointerBefore) const;
    void followPointer();
    void point(const std::optional<QPointF>& place);
    std::optional<QPointF> contentPoint(const QPointF& place) const;
    Path pressable(const QPointF& place) const;
    void scrollTo(double scrolled);
    double farthest() const;
    void showFocus();
    void holdList();
    void hideFocus();
    void tellFocusLeft();
    QRectF scrollBar() const;

    PopoverLayout m_layout;
    QMargins m_shadowRoom;
    PanelEnvironment m_environment;
    PopoverFocus m_focus;
    bool m_isFocusInside = false;     ///< whether screen readers know an element that has the focus
    std::optional<QPointF> m_pointer; ///< in the window; its place in the content is the environment's
    Path m_pressed;
    double m_scale = 1;
    double m_scrolled = 0; ///< how far the sections are moved up, in points of the content
    bool m_isListHeld = false;
};

} // namespace kestrum
