// SPDX-License-Identifier: MIT
#pragma once

#include <QFocusEvent>
#include <QPointer>
#include <QWidget>

namespace kestrum {

/// The ring around the control that got the focus by the keyboard. It reaches beyond the control, so its parent is the nearest
/// ancestor that has the space. It is deleted when the control loses the focus or is clicked.
/// QFocusFrame would need a style of our own to leave a tight parent and to keep our distance, and stays after both of these.
class FocusRing final : public QWidget {
    Q_OBJECT
public:
    /// To be called when `control` gets the focus. Shows a ring if the keyboard moved the focus. `radius` is that of the control's
    /// corners.
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
