// SPDX-License-Identifier: MIT
#include "Kestrum/Form/Switch.h"

#include "Kestrum/Form/FocusRing.h"
#include "Kestrum/Form/Theme.h"

#include <QPainter>

namespace kestrum {

namespace {

constexpr int slideMilliseconds = 120;
constexpr double knobInset = 2;              ///< between the knob and the track's edge
constexpr double disabledKnobOpacity = 0.75; ///< enough to hide the track's colour

/// A mix of two colours: a `share` of 0 gives `first`, 1 gives `second`.
QColor mixed(const QColor& first, const QColor& second, double share)
{
    const auto part = [share](float from, float to) { return from + (to - from) * float(share); };
    return QColor::fromRgbF(part(first.redF(), second.redF()), part(first.greenF(), second.greenF()),
        part(first.blueF(), second.blueF()), part(first.alphaF(), second.alphaF()));
}

} // namespace

Switch::Switch(Size size, QWidget* parent)
    : QCheckBox(parent)
    , m_size(size)
{
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    // Repaint when the pointer enters or leaves.
    setAttribute(Qt::WA_Hover);
    m_slide.setDuration(slideMilliseconds);
    m_slide.setEasingCurve(QEasingCurve::InOutQuad);
    connect(&m_slide, &QVariantAnimation::valueChanged, this,
        [this](const QVariant& position) { moveKnob(position.toDouble()); });
    connect(this, &QCheckBox::toggled, this, &Switch::slide);
}

QSize Switch::sizeHint() const
{
    return m_size == Size::regular ? QSize(38, 22) : QSize(30, 18);
}

void Switch::follow(bool isOn)
{
    // After a click, the switch already has this state, and its animation goes on.
    if (isOn == isChecked())
        return;
    {
        const QSignalBlocker blocker(this);
        setChecked(isOn);
    }
    m_slide.stop();
    moveKnob(isOn ? 1 : 0);
}

void Switch::slide(bool isOn)
{
    const double end = isOn ? 1 : 0;
    m_slide.stop();
    if (!m_slides || !isVisible() || SystemAppearance::shared().reducesMotion()) {
        moveKnob(end);
        return;
    }
    m_slide.setStartValue(m_position);
    m_slide.setEndValue(end);
    m_slide.start();
}

void Switch::moveKnob(double position)
{
    m_position = position;
    update();
}

void Switch::paintEvent(QPaintEvent*)
{
    using Theme::Colour;
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    if (!isEnabled())
        painter.setOpacity(Theme::disabledOpacity);

    const QSizeF size = sizeHint();
    const QRectF track(QPointF((width() - size.width()) / 2, (height() - size.height()) / 2), size);
    const double radius = size.height() / 2;
    painter.setPen(Qt::NoPen);
    painter.setBrush(mixed(Theme::colour(Colour::switchOff), Theme::colour(Colour::selection), m_position));
    painter.drawRoundedRect(track, radius, radius);
    if (isEnabled() && (isDown() || underMouse())) {
        painter.setBrush(Theme::colour(isDown() ? Colour::switchPressed : Colour::switchHovered));
        painter.drawRoundedRect(track, radius, radius);
    }

    // Without an outline the pale track and the white knob would be hard to see.
    QColor outline = Theme::colour(Colour::switchOutline);
    outline.setAlphaF(float(1 - m_position));
    painter.setBrush(Qt::NoBrush);
    painter.setPen(QPen(outline, 1));
    painter.drawRoundedRect(track.adjusted(0.5, 0.5, -0.5, -0.5), radius - 0.5, radius - 0.5);

    const double diameter = size.height() - 2 * knobInset;
    const double way = size.width() - size.height();
    const double place = isRightToLeft() ? 1 - m_position : m_position;
    const QRectF knob(track.left() + knobInset + way * place, track.top() + knobInset, diameter, diameter);
    if (!isEnabled())
        painter.setOpacity(disabledKnobOpacity);
    painter.setBrush(Theme::colour(Colour::switchKnob));
    painter.drawEllipse(knob.adjusted(0.5, 0.5, -0.5, -0.5));
}

void Switch::focusInEvent(QFocusEvent* event)
{
    QCheckBox::focusInEvent(event);
    FocusRing::mark(*this, sizeHint().height() / 2.0, *event);
}

bool Switch::hitButton(const QPoint& place) const
{
    return rect().contains(place);
}

} // namespace kestrum
