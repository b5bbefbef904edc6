#pragma once

#include <QAbstractButton>
#include <QVariantAnimation>

namespace kestrum {

/// A switch: a round knob in a track, at the trailing end when it is on. Its accessible role is a check box's. Space and a
/// click turn it; `toggled` tells.
class Switch final : public QAbstractButton {
    Q_OBJECT
public:
    enum class Size { regular, small };

    explicit Switch(Size size = Size::regular, QWidget* parent = nullptr);

    QSize sizeHint() const override;
    QSize minimumSizeHint() const override { return sizeHint(); }

    /// Shows the state at once, without sliding and without telling: for following a value.
    void follow(bool isOn);

protected:
    void paintEvent(QPaintEvent* event) override;

private:
    Size m_size;
    QVariantAnimation m_slide;
};

} // namespace kestrum
