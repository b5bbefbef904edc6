#pragma once

#include <QFocusEvent>
#include <QPointer>
#include <QWidget>

namespace kestrum {

/// The mark around the control that the keyboard is at. It reaches beyond the control and so lies in the next widget around it
/// that has the room; it goes when the control loses the focus or is clicked.
class FocusRing final : public QWidget {
    Q_OBJECT
public:
    /// To be called when `control` gets the focus: marks it when the keyboard brought the focus there. `radius` is that of
    /// the control's corners.
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
