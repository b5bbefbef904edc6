#pragma once

#include <QCheckBox>
#include <QVariantAnimation>

namespace kestrum {

/// A switch: a round knob in a track, at the trailing end when it is on. To assistive programs it is a check box, whose name
/// the owner sets. Space and a click turn it; `toggled` tells. Its text is not shown.
class Switch final : public QCheckBox {
    Q_OBJECT
public:
    enum class Size { regular, small };

    explicit Switch(Size size = Size::regular, QWidget* parent = nullptr);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

    /// Shows the state at once, without sliding and without telling: for following a value. One that it shows already leaves
    /// a slide alone.
    void follow(bool isOn);

    /// Whether the knob slides when the switch is turned, as it does at first.
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
