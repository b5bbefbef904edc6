// SPDX-License-Identifier: MIT
#pragma once

#include <QWidget>

namespace kestrum {

/// Lies over an end of the strip beyond which there is more: the items fade into the plate there, and a click on the
/// chevron scrolls on. For the pointer only; the keyboard brings its item into view by itself.
class MoreMark final : public QWidget {
    Q_OBJECT
public:
    /// How far it reaches from the edge.
    static constexpr int extent = 28;

    /// For the left or the right edge.
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
