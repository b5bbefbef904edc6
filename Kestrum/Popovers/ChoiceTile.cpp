// SPDX-License-Identifier: MIT
#include "Kestrum/Popovers/ChoiceTile.h"

#include "Kestrum/Form/AccessibleGroup.h"
#include "Kestrum/Form/FocusRing.h"
#include "Kestrum/Form/Theme.h"

#include <QKeyEvent>
#include <QPainter>
#include <QPainterPath>
#include <algorithm>

namespace kestrum {

namespace {

constexpr QSize tilePictureSize { 112, 74 };
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

/// A tile for assistive programs: a button that can be pressed and is selected or not.
class TileInterface final : public QAccessibleWidget {
public:
    explicit TileInterface(ChoiceTile* tile)
        : QAccessibleWidget(tile, QAccessible::Button)
        , m_tile(*tile)
    {
    }

    QString text(QAccessible::Text kind) const override
    {
        return kind == QAccessible::Name ? m_tile.text() : QAccessibleWidget::text(kind);
    }
    QAccessible::State state() const override
    {
        QAccessible::State state = QAccessibleWidget::state();
        state.selectable = true;
        state.selected = m_tile.isSelected();
        // Screen readers announce a checked button, but seldom a selected one.
        state.checkable = true;
        state.checked = m_tile.isSelected();
        state.pressed = m_tile.isDown();
        return state;
    }
    QStringList actionNames() const override
    {
        QStringList names = QAccessibleWidget::actionNames();
        names.prepend(pressAction());
        return names;
    }
    void doAction(const QString& name) override
    {
        if (name == pressAction())
            m_tile.click();
        else
            QAccessibleWidget::doAction(name);
    }

private:
    ChoiceTile& m_tile;
};

} // namespace

ChoiceTile::ChoiceTile(const QString& title, Picture picture, QWidget* parent)
    : QAbstractButton(parent)
    , m_picture(std::move(picture))
{
    setAccessibleInterface<ChoiceTile, TileInterface>();
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
    QAccessible::State changed;
    changed.selected = true;
    changed.checked = true;
    QAccessibleStateChangeEvent event(this, changed);
    QAccessible::updateAccessibility(&event);
}

// Includes the space for the wider title of a selected tile, so that no tile moves when the choice changes.
QSize ChoiceTile::sizeHint() const
{
    const QFontMetrics title(titleFont(true));
    return { std::max(tilePictureSize.width(), title.horizontalAdvance(text())),
        tilePictureSize.height() + titleGap + title.height() };
}

void ChoiceTile::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    const QRect frame(QPoint((width() - tilePictureSize.width()) / 2, 0), tilePictureSize);

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
    painter.drawText(rect().adjusted(0, tilePictureSize.height() + titleGap, 0, 0),
        int(Qt::AlignHCenter | Qt::AlignTop | Qt::TextSingleLine), text());
}

void ChoiceTile::keyPressEvent(QKeyEvent* event)
{
    if (event->key() == Qt::Key_Return || event->key() == Qt::Key_Enter)
        click();
    else if (event->key() == Qt::Key_Space)
        QAbstractButton::keyPressEvent(event);
    else
        event->ignore(); // the row handles the arrow keys
}

void ChoiceTile::focusInEvent(QFocusEvent* event)
{
    QAbstractButton::focusInEvent(event);
    FocusRing::mark(*this, radius, *event);
}

} // namespace kestrum
