// SPDX-License-Identifier: MIT
#pragma once

#include <QBasicTimer>
#include <QPointF>
#include <QWidget>

namespace kestrum {

class MenuBarStripView;
class MoreMark;

/// Places the strip of items in a layout. The widget is as wide as the strip if there is enough space. If not, the strip scrolls
/// sideways: the trailing end is in view at first, and marks show at which end there are more items. The strip scrolls by a click
/// on a mark, by the keyboard, by a wheel that is turned sideways or with Shift, and by a drag to the edges.
class MenuBarStrip final : public QWidget {
    Q_OBJECT
public:
    explicit MenuBarStrip(QWidget* parent = nullptr);

    MenuBarStripView* view() const { return m_view; }
    /// How far the strip is scrolled from its left end, in points.
    int offset() const { return m_offset; }

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override;

protected:
    bool event(QEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void timerEvent(QTimerEvent* event) override;

private:
    int furthestOffset() const;
    void place();
    void scrollTo(int offset);
    void scrollOn(int direction);
    void followDrag(const QPointF& viewPoint);

    MenuBarStripView* m_view;
    MoreMark* m_moreLeft;
    MoreMark* m_moreRight;
    int m_offset = 0;
    bool m_wasScrolled = false;
    QBasicTimer m_dragScroll;
    QPointF m_pointer; ///< the pointer's position during a drag, in this widget's coordinates
};

} // namespace kestrum
