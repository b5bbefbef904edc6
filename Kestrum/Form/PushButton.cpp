// SPDX-License-Identifier: MIT
#include "Kestrum/Form/PushButton.h"

#include "Kestrum/Form/FocusRing.h"
#include "Kestrum/Form/Theme.h"

#include <QEvent>
#include <QPainter>

namespace kestrum {

namespace {

constexpr int sidePadding = 10; ///< beside the text

} // namespace

PushButton::PushButton(const QString& text, QWidget* parent)
    : QPushButton(text, parent)
{
    setFont(Theme::font(Theme::TextStyle::body));
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    setAutoDefault(false);
    // Repaint when the pointer enters or leaves.
    setAttribute(Qt::WA_Hover);
}

QSize PushButton::sizeHint() const
{
    const QSize size = fontMetrics().size(Qt::TextShowMnemonic, text());
    return { size.width() + 2 * sidePadding, Theme::controlHeight(size.height()) };
}

void PushButton::paintPlate(QPainter& painter, const QWidget& control, bool isPressed)
{
    using Theme::Colour;
    const QRect place = control.rect();
    painter.setRenderHint(QPainter::Antialiasing);
    // The border's colour fits a card as background: nearly all buttons are on cards.
    painter.setPen(Theme::edgeColour(Colour::button, Colour::card, Colour::buttonBorder));
    painter.setBrush(Theme::colour(Colour::button));
    painter.drawRoundedRect(QRectF(place).adjusted(0.5, 0.5, -0.5, -0.5), radius, radius);
    if (!control.isEnabled()) {
        painter.setOpacity(Theme::disabledOpacity);
    } else if (isPressed || control.underMouse()) {
        painter.setPen(Qt::NoPen);
        painter.setBrush(Theme::colour(isPressed ? Colour::buttonPressed : Colour::buttonHovered));
        painter.drawRoundedRect(place, radius, radius);
    }
}

void PushButton::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    paintPlate(painter, *this, isDown());
    painter.setPen(Theme::colour(Theme::Colour::text));
    painter.drawText(rect(), int(Qt::AlignCenter | Qt::TextShowMnemonic), text());
}

void PushButton::focusInEvent(QFocusEvent* event)
{
    QPushButton::focusInEvent(event);
    FocusRing::mark(*this, radius, *event);
}

void PushButton::changeEvent(QEvent* event)
{
    QPushButton::changeEvent(event);
    if (event->type() == QEvent::FontChange)
        updateGeometry();
}

} // namespace kestrum
