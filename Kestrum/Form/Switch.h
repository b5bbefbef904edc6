// SPDX-License-Identifier: MIT
#pragma once

#include <QCheckBox>
#include <QVariantAnimation>

namespace kestrum {

/// A switch: a round knob in a track. The knob is at the trailing end when the switch is on. For assistive programs the switch
/// is a check box; the owner sets its name. Space and a click emit `toggled`. The text of the check box is not shown.
class Switch final : public QCheckBox {
    Q_OBJECT
public:
    enum class Size { regular, small };

    explicit Switch(Size size = Size::regular, QWidget* parent = nullptr);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

    /// Shows a stored state at once, without animation and without `toggled`. A running animation to the same state goes on.
    void follow(bool isOn);

    /// Whether the knob is animated when the user toggles the switch; yes by default.
    void setSlides(bool slides) { m_slides = slides; }

protected:
    void paintEvent(QPaintEvent* event) override;
    void focusInEvent(QFocusEvent* event) override;
    bool hitButton(const QPoint& place) const override;

private:
    void slide(bool isOn);
    void moveKnob(double position);

    Size m_size;
    double m_position = 0; ///< of the knob: 0 off, 1 on
    bool m_slides = true;
    QVariantAnimation m_slide;
};

} // namespace kestrum
