// SPDX-License-Identifier: MIT
#pragma once

#include <QFocusEvent>
#include <QPointer>
#include <QWidget>

namespace kestrum {

/// The ring around the control that got the focus by the keyboard. The ring is larger than the control, so the ring's parent is
/// the nearest ancestor with enough space. The ring is deleted when the control loses the focus or is clicked. QFocusFrame would
/// need a custom style for this parent and this distance, and it stays visible when the control loses the focus or is clicked.
class FocusRing final : public QWidget {
    Q_OBJECT
public:
    /// Call this when `control` gets the focus. Shows a ring if the keyboard moved the focus. `radius` is the radius of the
    /// control's corners.
    static void mark(QWidget& control, double radius, const QFocusEvent& event);

protected:
    void paintEvent(QPaintEvent* event) override;
    bool eventFilter(QObject* watched, QEvent* event) override;

private:
    FocusRing(QWidget& control, QWidget* room, double radius);
    void surround();
    void end();

    QPointer<QWidget> m_control;
    double m_radius;
};

} // namespace kestrum
