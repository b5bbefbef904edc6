// SPDX-License-Identifier: MIT
#pragma once

#include <QWidget>
#include <optional>

class QScrollArea;
class QScrollBar;

namespace kestrum {

/// A page's scroll bar. The bar lies in the page's margin, so nothing moves when the bar appears. The bar is visible only while
/// the page can be scrolled. A drag of the thumb scrolls; a click beside the thumb scrolls by a page.
class PageScrollBar final : public QWidget {
    Q_OBJECT
public:
    /// `area` owns the new bar. The new bar replaces the present vertical bar, which stays hidden.
    explicit PageScrollBar(QScrollArea& area);

    /// The rectangle of the thumb, which can be dragged, in this widget's coordinates.
    QRect thumb() const;

protected:
    void paintEvent(QPaintEvent* event) override;
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    void place();

    QScrollArea& m_area;
    QScrollBar& m_bar;
    std::optional<int> m_grabbed; ///< distance from the thumb's top to the pointer during a drag
};

} // namespace kestrum
