// SPDX-License-Identifier: MIT
#include "Kestrum/Form/PopupPicker.h"

#include "Kestrum/Form/FocusRing.h"
#include "Kestrum/Form/PickerList.h"
#include "Kestrum/Form/PushButton.h"
#include "Kestrum/Form/Theme.h"

#include <QPainter>
#include <QStyle>
#include <QWheelEvent>
#include <algorithm>
#include <cmath>
#include <utility>

namespace kestrum {

namespace {

constexpr int positionRole = Qt::UserRole; ///< index of a choice among the choices; dividers have none

constexpr int leadingPadding = 12; ///< before the picture or the title
constexpr int markGap = 10;        ///< between the title and the mark
constexpr int markWidth = 7;
constexpr int markPadding = 10; ///< after the mark

/// Paints the mark of a picker: one arrow head up and one down.
void paintMark(QPainter& painter, const QPointF& middle)
{
    constexpr double half = markWidth / 2.0;
    constexpr double rise = 3.5;
    constexpr double away = 2; ///< from the middle to the start of each head
    for (const int side : { -1, 1 }) {
        painter.drawPolyline(QPolygonF { { middle + QPointF(-half, side * away),
            middle + QPointF(0, side * (away + rise)), middle + QPointF(half, side * away) } });
    }
}

} // namespace

PopupPicker::PopupPicker(QWidget* parent)
    : QComboBox(parent)
{
    setFont(Theme::font(Theme::TextStyle::body));
    setSizePolicy(QSizePolicy::Maximum, QSizePolicy::Fixed);
    setAttribute(Qt::WA_Hover);
    connect(this, &QComboBox::activated, this,
        [this](int row) { Q_EMIT chosen(itemData(row, positionRole).toInt()); });
}

void PopupPicker::addEntry(const QString& title, const QIcon& picture)
{
    int position = 0;
    for (int row = 0; row < count(); ++row)
        position += itemData(row, positionRole).isValid() ? 1 : 0;
    const int shown = currentIndex();
    addItem(picture, title, position);
    setCurrentIndex(shown); // QComboBox makes the first entry the current one
    m_longestTitleWidth = std::max(m_longestTitleWidth, widthOf(title));
    updateGeometry();
}

void PopupPicker::addDivider()
{
    insertSeparator(count());
}

int PopupPicker::index() const
{
    const QVariant position = currentData(positionRole);
    return position.isValid() ? position.toInt() : -1;
}

void PopupPicker::setIndex(int index)
{
    setCurrentIndex(index < 0 ? -1 : findData(index, positionRole));
}

int PopupPicker::widthOf(const QString& title) const
{
    return int(std::ceil(QFontMetricsF(font()).horizontalAdvance(title)));
}

int PopupPicker::widthWith(int titleWidth) const
{
    bool hasPicture = false;
    for (int row = 0; row < count(); ++row)
        hasPicture |= !itemIcon(row).isNull();
    return leadingPadding + (hasPicture ? Theme::pictureSize + Theme::pictureGap : 0) + titleWidth + markGap
        + markWidth + markPadding;
}

int PopupPicker::ownWidth() const
{
    return widthWith(m_longestTitleWidth);
}

void PopupPicker::setSharedWidth(int width)
{
    if (std::exchange(m_sharedWidth, width) != width)
        updateGeometry();
}

QSize PopupPicker::sizeHint() const
{
    return { std::max(ownWidth(), m_sharedWidth), Theme::controlHeight(fontMetrics().height()) };
}

QSize PopupPicker::minimumSizeHint() const
{
    const int fewLetters = 4 * fontMetrics().averageCharWidth();
    return { widthWith(std::min(fewLetters, m_longestTitleWidth)), sizeHint().height() };
}

void PopupPicker::showPopup()
{
    auto* list = qobject_cast<PickerList*>(view());
    if (!list) {
        // The list is created when it is first needed, because every list needs a window.
        list = new PickerList(*this);
        setView(list);
        // Newer versions of Qt set the list's current entry only when the choice changes.
        list->setCurrentIndex(model()->index(currentIndex(), modelColumn()));
        list->setAccessibleName(accessibleName());
        list->dressWindow();
    }
    m_isOpen = true;
    QComboBox::showPopup();
    update();
}

void PopupPicker::hidePopup()
{
    m_isOpen = false;
    QComboBox::hidePopup();
    update();
}

void PopupPicker::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setLayoutDirection(layoutDirection());
    PushButton::paintPlate(painter, *this, m_isOpen);
    const auto mirrored
        = [this](const QRect& place) { return QStyle::visualRect(layoutDirection(), rect(), place); };

    painter.setPen(QPen(Theme::colour(Theme::Colour::text), 1.5, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
    paintMark(
        painter, QRectF(mirrored(QRect(width() - markPadding - markWidth, 0, markWidth, height()))).center());

    int leading = leadingPadding;
    if (const QIcon picture = itemIcon(currentIndex()); !picture.isNull()) {
        constexpr int size = Theme::pictureSize;
        picture.paint(&painter, mirrored(QRect(leading, (height() - size) / 2, size, size)));
        leading += size + Theme::pictureGap;
    }
    const QRect title(leading, 0, width() - leading - markGap - markWidth - markPadding, height());
    painter.drawText(mirrored(title), int(Qt::AlignVCenter | Qt::AlignLeading | Qt::TextSingleLine),
        fontMetrics().elidedText(currentText(), Qt::ElideRight, title.width()));
}

void PopupPicker::focusInEvent(QFocusEvent* event)
{
    QComboBox::focusInEvent(event);
    FocusRing::mark(*this, PushButton::radius, *event);
}

void PopupPicker::wheelEvent(QWheelEvent* event)
{
    event->ignore();
}

void PopupPicker::changeEvent(QEvent* event)
{
    if (event->type() != QEvent::FontChange) {
        QComboBox::changeEvent(event);
        return;
    }
    // QComboBox must not get this event: it would create the list just to set the font. `PickerList` uses this picker's font.
    m_longestTitleWidth = 0;
    for (int row = 0; row < count(); ++row)
        m_longestTitleWidth = std::max(m_longestTitleWidth, widthOf(itemText(row)));
    updateGeometry();
    update();
}

} // namespace kestrum
