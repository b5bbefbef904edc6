// SPDX-License-Identifier: MIT
#include "Kestrum/Form/PickerList.h"

#include "Kestrum/Form/Theme.h"
#include "Platform/Desktop/Translucency.h"

#include <QComboBox>
#include <QCoreApplication>
#include <QKeyEvent>
#include <QLayout>
#include <QPainter>
#include <QPainterPath>
#include <QScreen>
#include <QStyledItemDelegate>
#include <algorithm>

namespace kestrum {

namespace {

constexpr int dividerHeight = 9;
constexpr double cardRadius = 8;
constexpr int cardInset = 5; ///< between the card's edge and the entries
constexpr double entryRadius = 5;
constexpr int tickRoom = 24;       ///< before pictures and titles
constexpr int trailingPadding = 5; ///< small, so that a list is no wider than its field
constexpr int shadowReach = 14;
constexpr int shadowFall = 4;           ///< how far the shadow is below the card
constexpr double shadowOpacity = 0.014; ///< of one layer; the shadow has one layer per point of `shadowReach`

class EntryDelegate final : public QStyledItemDelegate {
public:
    explicit EntryDelegate(const QComboBox& picker, QObject* parent)
        : QStyledItemDelegate(parent)
        , m_picker(picker)
    {
    }

    QSize sizeHint(const QStyleOptionViewItem&, const QModelIndex& index) const override
    {
        if (isDivider(index))
            return { 0, dividerHeight };
        const QFontMetrics font(m_picker.font());
        const int picture = hasPicture(index) ? Theme::pictureSize + Theme::pictureGap : 0;
        const int title = font.horizontalAdvance(index.data().toString());
        return { 2 * cardInset + tickRoom + picture + title + trailingPadding,
            Theme::controlHeight(font.height()) };
    }

    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override
    {
        using Theme::Colour;
        const QRect row = option.rect.adjusted(cardInset, 0, -cardInset, 0);
        painter->save();
        painter->setRenderHint(QPainter::Antialiasing);
        painter->setLayoutDirection(option.direction);
        if (isDivider(index))
            painter->fillRect(row.left(), row.center().y(), row.width(), 1, Theme::colour(Colour::separator));
        else
            paintEntry(*painter, row, option, index);
        painter->restore();
    }

private:
    static bool isDivider(const QModelIndex& index)
    {
        return index.data(Qt::AccessibleDescriptionRole).toString() == QLatin1StringView("separator");
    }
    static bool hasPicture(const QModelIndex& index)
    {
        return !index.data(Qt::DecorationRole).value<QIcon>().isNull();
    }

    void paintEntry(QPainter& painter, const QRect& row, const QStyleOptionViewItem& option,
        const QModelIndex& index) const
    {
        using Theme::Colour;
        const bool isAtHand = option.state.testFlag(QStyle::State_Selected);
        if (isAtHand) {
            painter.setPen(Qt::NoPen);
            painter.setBrush(Theme::colour(Colour::selection));
            painter.drawRoundedRect(row, entryRadius, entryRadius);
        }
        const QColor ink = Theme::colour(isAtHand ? Colour::onSelection : Colour::text);
        const auto mirrored
            = [&](const QRect& place) { return QStyle::visualRect(option.direction, row, place); };

        if (index.row() == m_picker.currentIndex()) {
            const QPointF middle
                = QRectF(mirrored(QRect(row.left(), row.top(), tickRoom, row.height()))).center();
            painter.setPen(QPen(ink, 1.6, Qt::SolidLine, Qt::RoundCap, Qt::RoundJoin));
            painter.setBrush(Qt::NoBrush);
            painter.drawPolyline(QPolygonF {
                { middle + QPointF(-4, 0.5), middle + QPointF(-1.2, 3.5), middle + QPointF(4, -3.5) } });
        }
        int leading = row.left() + tickRoom;
        if (hasPicture(index)) {
            constexpr int size = Theme::pictureSize;
            const QRect place(leading, row.center().y() - (size - 1) / 2, size, size);
            index.data(Qt::DecorationRole).value<QIcon>().paint(&painter, mirrored(place));
            leading += size + Theme::pictureGap;
        }
        const QRect title(leading, row.top(), row.right() - leading, row.height());
        painter.setFont(m_picker.font());
        painter.setPen(ink);
        painter.drawText(mirrored(title), int(Qt::AlignVCenter | Qt::AlignLeading | Qt::TextSingleLine),
            index.data().toString());
    }

    const QComboBox& m_picker;
};

} // namespace

PickerList::PickerList(const QComboBox& picker)
    : m_picker(picker)
{
    setFrameShape(NoFrame);
    setItemDelegate(new EntryDelegate(picker, this));
    setViewportMargins(0, cardInset, 0, cardInset);
    // The window below the list paints the card.
    viewport()->setAutoFillBackground(false);
}

void PickerList::dressWindow()
{
    // Remove the frame that QComboBox puts around the list.
    static_cast<QFrame*>(window())->setFrameStyle(QFrame::NoFrame);
    window()->setWindowFlags(Qt::Popup | Qt::FramelessWindowHint | Qt::NoDropShadowWindowHint);
    window()->setAttribute(Qt::WA_TranslucentBackground);
    window()->installEventFilter(this);
}

QRect PickerList::card() const
{
    const int reach = m_isTranslucent ? shadowReach : 0;
    return window()->geometry().adjusted(reach, reach, -reach, -reach);
}

/// Places the window, because QComboBox knows neither the card's insets nor the shadow. The heights are sums of size hints,
/// because the entries are laid out only when the window is shown.
void PickerList::place()
{
    QWidget& list = *window();
    const int reach = m_isTranslucent ? shadowReach : 0;
    const QMargins shadow(reach, reach, reach, reach);
    list.layout()->setContentsMargins(shadow);
    int wanted = 2 * cardInset;
    int above = cardInset; // height above the chosen entry
    for (int row = 0; row < model()->rowCount(); ++row) {
        wanted += sizeHintForRow(row);
        above += row < currentIndex().row() ? sizeHintForRow(row) : 0;
    }

    const QRect field(m_picker.mapToGlobal(QPoint(0, 0)), m_picker.size());
    QRect card(field.topLeft(), QSize(std::max(sizeHintForColumn(0), field.width()), wanted));
    if (m_picker.isRightToLeft())
        card.moveRight(field.right());
    list.setGeometry(card.marginsAdded(shadow));
    list.layout()->activate();
    // Add the space that the style leaves above and below the list.
    card.setHeight(card.height() + wanted - height());
    card.moveTop(field.top() - above - (y() - reach));

    const QRect screen = m_picker.screen()->availableGeometry();
    card.setSize(card.size().boundedTo(screen.size()));
    card.moveRight(std::min(card.right(), screen.right()));
    card.moveLeft(std::max(card.left(), screen.left()));
    card.moveBottom(std::min(card.bottom(), screen.bottom()));
    card.moveTop(std::max(card.top(), screen.top()));
    list.setGeometry(card.marginsAdded(shadow));
}

void PickerList::selectionChanged(const QItemSelection& selected, const QItemSelection& deselected)
{
    QListView::selectionChanged(selected, deselected);
    // Keys and the pointer also make the entry current, right after this function. Assistive programs only select the entry that
    // they choose. So choose the entry for them, which is possible only by a key press.
    const auto chooseIfOnlySelected = [this] {
        const QModelIndexList entries = selectedIndexes();
        if (!isVisible() || entries.size() != 1 || entries.first() == currentIndex())
            return;
        setCurrentIndex(entries.first());
        QKeyEvent press(QEvent::KeyPress, Qt::Key_Return, Qt::NoModifier);
        QCoreApplication::sendEvent(this, &press);
    };
    if (isVisible())
        QMetaObject::invokeMethod(this, chooseIfOnlySelected, Qt::QueuedConnection);
}

bool PickerList::eventFilter(QObject* watched, QEvent* event)
{
    if (watched != window())
        return QListView::eventFilter(watched, event);
    if (event->type() == QEvent::Show && !event->spontaneous()) {
        // Checked at each opening: a compositor can start and end at any time.
        m_isTranslucent = isTranslucencyShown();
        place();
    } else if (event->type() == QEvent::Paint) {
        paintCard();
        return true;
    }
    return QListView::eventFilter(watched, event);
}

void PickerList::paintCard() const
{
    QPainter painter(window());
    const QRectF card(this->card().translated(-window()->pos()));
    if (!m_isTranslucent) {
        // Without translucency, rounded corners would be black.
        painter.fillRect(card, Theme::colour(Theme::Colour::card));
        painter.setPen(Theme::colour(Theme::Colour::listBorder));
        painter.drawRect(card.adjusted(0, 0, -1, -1));
        return;
    }
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(QColor::fromRgbF(0, 0, 0, float(shadowOpacity)));
    for (int grown = shadowReach - shadowFall; grown > -shadowFall; --grown)
        painter.drawRoundedRect(card.adjusted(-grown, shadowFall - grown, grown, shadowFall + grown),
            cardRadius + grown, cardRadius + grown);
    painter.setPen(Theme::colour(Theme::Colour::listBorder));
    painter.setBrush(Theme::colour(Theme::Colour::card));
    painter.drawRoundedRect(card.adjusted(0.5, 0.5, -0.5, -0.5), cardRadius, cardRadius);
}

} // namespace kestrum
