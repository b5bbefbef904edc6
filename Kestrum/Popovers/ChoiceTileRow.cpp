// SPDX-License-Identifier: MIT
#include "Kestrum/Popovers/ChoiceTileRow.h"

#include "Kestrum/Form/AccessibleGroup.h"
#include "Kestrum/Form/Theme.h"

#include <QEvent>
#include <QKeyEvent>
#include <QStyle>
#include <algorithm>

namespace kestrum {

namespace {

constexpr int room = 12;         ///< above and below the row's contents
constexpr int labelGap = 12;     ///< between the text and tiles beside it
constexpr int labelGapBelow = 8; ///< between the text and tiles below it
constexpr int tileGap = 20;
constexpr int tileLineGap = 12; ///< between lines of tiles

} // namespace

struct ChoiceTileRow::Layout {
    QRect label;
    QList<QRect> tiles;
    int height;
};

ChoiceTileRow::ChoiceTileRow(const QString& text, QWidget* parent)
    : QWidget(parent)
    , m_label(new WrappedLabel(Theme::TextStyle::body, text, this))
{
    groupForAssistance<ChoiceTileRow>();
    setAccessibleName(text);
    QSizePolicy policy(QSizePolicy::Preferred, QSizePolicy::Minimum);
    policy.setHeightForWidth(true);
    setSizePolicy(policy);
}

void ChoiceTileRow::addTile(const QString& title, ChoiceTile::Picture picture)
{
    const int index = int(m_tiles.size());
    auto* tile = new ChoiceTile(title, std::move(picture), this);
    connect(tile, &ChoiceTile::clicked, this, [this, index] { Q_EMIT chosen(index); });
    m_tiles.append(tile);
    updateGeometry();
}

int ChoiceTileRow::index() const
{
    for (int i = 0; i < m_tiles.size(); ++i) {
        if (m_tiles[i]->isSelected())
            return i;
    }
    return -1;
}

void ChoiceTileRow::setIndex(int index)
{
    for (int i = 0; i < m_tiles.size(); ++i)
        m_tiles[i]->setSelected(i == index);
}

int ChoiceTileRow::tilesWidth() const
{
    int width = tileGap * int(m_tiles.size() - 1);
    for (const ChoiceTile* tile : m_tiles)
        width += tile->sizeHint().width();
    return width;
}

bool ChoiceTileRow::fitsBeside(int width) const
{
    const int wanted = 2 * Theme::rowInset + m_label->sizeHint().width() + labelGap + tilesWidth();
    return wanted <= width && (!m_other || m_other->fitsBeside(width));
}

ChoiceTileRow::Layout ChoiceTileRow::layoutFor(int width) const
{
    Layout layout;
    if (fitsBeside(width)) {
        int x = width - Theme::rowInset - tilesWidth();
        int lowest = 0;
        for (const ChoiceTile* tile : m_tiles) {
            layout.tiles.append(QRect(QPoint(x, room), tile->sizeHint()));
            lowest = std::max(lowest, layout.tiles.last().bottom() + 1);
            x += tile->sizeHint().width() + tileGap;
        }
        layout.height = lowest + room;
        layout.label = QRect(QPoint(Theme::rowInset, room), m_label->sizeHint());
        layout.label.moveTop((layout.height - layout.label.height()) / 2);
        return layout;
    }

    const int labelWidth = std::max(0, width - 2 * Theme::rowInset);
    layout.label = QRect(Theme::rowInset, room, labelWidth, m_label->heightForWidth(labelWidth));
    int x = Theme::rowInset;
    int top = layout.label.bottom() + 1 + labelGapBelow;
    int lowest = top;
    for (const ChoiceTile* tile : m_tiles) {
        const QSize size = tile->sizeHint();
        if (x > Theme::rowInset && x + size.width() > width - Theme::rowInset) {
            x = Theme::rowInset;
            top = lowest + tileLineGap;
        }
        layout.tiles.append(QRect(QPoint(x, top), size));
        lowest = std::max(lowest, top + size.height());
        x += size.width() + tileGap;
    }
    layout.height = lowest + room;
    return layout;
}

QSize ChoiceTileRow::sizeHint() const
{
    const int width = 2 * Theme::rowInset + m_label->sizeHint().width() + labelGap + tilesWidth();
    return { width, heightForWidth(width) };
}

QSize ChoiceTileRow::minimumSizeHint() const
{
    int widest = m_label->minimumSizeHint().width();
    for (const ChoiceTile* tile : m_tiles)
        widest = std::max(widest, tile->sizeHint().width());
    return { 2 * Theme::rowInset + widest, m_label->sizeHint().height() };
}

int ChoiceTileRow::heightForWidth(int width) const
{
    return layoutFor(width).height;
}

bool ChoiceTileRow::event(QEvent* event)
{
    if (event->type() == QEvent::Resize || event->type() == QEvent::LayoutDirectionChange)
        layOut();
    return QWidget::event(event);
}

void ChoiceTileRow::layOut()
{
    const Layout layout = layoutFor(width());
    const auto place = [this](QWidget* widget, const QRect& rect) {
        widget->setGeometry(QStyle::visualRect(layoutDirection(), this->rect(), rect));
    };
    place(m_label, layout.label);
    for (int i = 0; i < m_tiles.size(); ++i)
        place(m_tiles[i], layout.tiles[i]);
}

void ChoiceTileRow::keyPressEvent(QKeyEvent* event)
{
    const bool isFromRight = layoutDirection() == Qt::RightToLeft;
    int step = 0;
    if (event->key() == Qt::Key_Down || event->key() == (isFromRight ? Qt::Key_Left : Qt::Key_Right))
        step = 1;
    else if (event->key() == Qt::Key_Up || event->key() == (isFromRight ? Qt::Key_Right : Qt::Key_Left))
        step = -1;
    if (step == 0)
        return QWidget::keyPressEvent(event);
    const int next = int(m_tiles.indexOf(qobject_cast<ChoiceTile*>(focusWidget()))) + step;
    if (next >= 0 && next < m_tiles.size())
        m_tiles[next]->setFocus(step > 0 ? Qt::TabFocusReason : Qt::BacktabFocusReason);
}

} // namespace kestrum
