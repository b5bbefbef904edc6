// SPDX-License-Identifier: MIT
#pragma once

#include <QWidget>

namespace kestrum {

/// A mark at an end of the visible part of the strip, shown if more items follow. Items fade into the plate under the mark, and a
/// click on the mark scrolls on. The mark is for the pointer only: with the keyboard, the focused item is scrolled into view.
class MoreMark final : public QWidget {
    Q_OBJECT
public:
    /// The width of the mark, in points.
    static constexpr int extent = 28;

    /// `edge` is the left or the right edge.
    explicit MoreMark(Qt::Edge edge, QWidget* parent);

Q_SIGNALS:
    void clicked();

protected:
    void paintEvent(QPaintEvent* event) override;
    void enterEvent(QEnterEvent* event) override;
    void leaveEvent(QEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;

private:
    Qt::Edge m_edge;
};

} // namespace kestrum
