#pragma once

#include <QFocusEvent>
#include <QWidget>

namespace kestrum {

/// The mark around the control that the keyboard is at. It reaches beyond the control and so lies beside it, in its parent;
/// it goes when the control loses the focus or is clicked.
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
    FocusRing(QWidget& control, double radius);
    void surround();

    QWidget& m_control;
    double m_radius;
};

} // namespace kestrum
