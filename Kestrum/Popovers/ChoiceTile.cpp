// SPDX-License-Identifier: MIT
#include "Kestrum/Popovers/ChoiceTile.h"

#include "Kestrum/Form/FocusRing.h"
#include "Kestrum/Form/Theme.h"
#include "Kestrum/Popovers/ChoiceTileAccessible.h"

#include <QKeyEvent>
#include <QPainter>
#include <QPainterPath>
#include <algorithm>

namespace kestrum {

namespace {

constexpr QSize pictureSize { 112, 74 };
constexpr double radius = 9;
constexpr int titleGap = 6;
constexpr double selectedBorder = 3;
constexpr double plainBorder = 1;
constexpr float plainBorderOpacity = 0.12F;

QFont titleFont(bool isSelected)
{
    QFont font = Theme::font(Theme::TextStyle::caption);
    font.setWeight(isSelected ? QFont::DemiBold : QFont::Normal);
    return font;
}

/// The pen of a picture's border. The border lies inside the picture's edges.
QPen border(bool isSelected)
{
    if (isSelected)
        return { Theme::colour(Theme::Colour::selection), selectedBorder };
    QColor faint = Theme::colour(Theme::Colour::text);
    faint.setAlphaF(plainBorderOpacity);
    return { faint, plainBorder };
}

} // namespace

ChoiceTile::ChoiceTile(const QString& title, Picture picture, QWidget* parent)
    : QAbstractButton(parent)
    , m_picture(std::move(picture))
{
    ChoiceTileAccessible::install();
    setText(title);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    setFocusPolicy(Qt::StrongFocus);
    // Repaint when the pointer enters or leaves.
    setAttribute(Qt::WA_Hover);
}

void ChoiceTile::setSelected(bool isSelected)
{
    if (m_isSelected == isSelected)
        return;
    m_isSelected = isSelected;
    update();
    ChoiceTileAccessible::notifySelection(this);
}

// Includes the space for the title of a selected tile, which is wider: no tile moves when the choice changes.
QSize ChoiceTile::sizeHint() const
{
    const QFontMetrics title(titleFont(true));
    return { std::max(pictureSize.width(), title.horizontalAdvance(text())),
        pictureSize.height() + titleGap + title.height() };
}

void ChoiceTile::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRect frame(QPoint((width() - pictureSize.width()) / 2, 0), pictureSize);

    painter.save();
    QPainterPath outline;
    outline.addRoundedRect(frame, radius, radius);
    painter.setClipPath(outline);
    m_picture(painter, frame.topLeft());
    if (isDown())
        painter.fillRect(frame, Theme::colour(Theme::Colour::buttonPressed));
    else if (isEnabled() && underMouse() && !m_isSelected)
        painter.fillRect(frame, Theme::colour(Theme::Colour::buttonHovered));
    painter.restore();

    const QPen pen = border(m_isSelected);
    const double half = pen.widthF() / 2;
    painter.setPen(pen);
    painter.drawRoundedRect(QRectF(frame).adjusted(half, half, -half, -half), radius - half, radius - half);

    painter.setFont(titleFont(m_isSelected));
    painter.setPen(Theme::colour(m_isSelected ? Theme::Colour::text : Theme::Colour::secondaryText));
    painter.drawText(rect().adjusted(0, pictureSize.height() + titleGap, 0, 0),
        int(Qt::AlignHCenter | Qt::AlignTop | Qt::TextSingleLine), text());
}

void ChoiceTile::keyPressEvent(QKeyEvent* event)
{
    if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter) {
        click();
        return;
    }
    // The row handles the arrow keys.
    if (event->key() == Qt::Key_Space)
        QAbstractButton::keyPressEvent(event);
    else
        event->ignore();
}

void ChoiceTile::focusInEvent(QFocusEvent* event)
{
    QAbstractButton::focusInEvent(event);
    FocusRing::mark(*this, radius, *event);
}

bool ChoiceTile::hitButton(const QPoint& place) const
{
    return rect().contains(place);
}

} // namespace kestrum
