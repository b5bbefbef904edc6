// SPDX-License-Identifier: MIT
#include "Kestrum/Window/Sidebar.h"

#include "Kestrum/Form/Theme.h"
#include "KestrumShared/Text/AppLanguage.h"
#include "Platform/Desktop/SymbolImage.h"

#include <QPainter>
#include <QResizeEvent>
#include <QStandardItemModel>
#include <QStyledItemDelegate>
#include <QTextLayout>
#include <algorithm>
#include <cmath>
#include <utility>

namespace kestrum {

namespace {

constexpr int pageRole = Qt::UserRole; ///< the page of a row; headings have none

constexpr int pageRowHeight = 30;
constexpr int rowGap = 2;
constexpr int rowInset = 8;
constexpr int rowPadding = 10;
constexpr double rowRadius = 7;
constexpr int pageSymbolBox = 16;
constexpr int pageSymbolPoints = 14; // the widest symbol fills the box
constexpr int pageSymbolGap = 8;
constexpr int rowRoom = 6; ///< above and below a title of several lines
constexpr int headingHeight = 26;
constexpr int headingRoom = 4;
constexpr int headingGap = 8; ///< above each heading

/// A text on as many lines as it needs. A word that is too long for a line is broken; nothing is elided.
class WrappedText {
public:
    WrappedText(const QString& text, const QFont& font, double width, Qt::LayoutDirection direction)
        : m_layout(text, font)
    {
        // QTextLayout treats "leading" as the left side.
        QTextOption option(QStyle::visualAlignment(direction, Qt::AlignLeading));
        option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
        option.setTextDirection(direction);
        m_layout.setTextOption(option);
        m_layout.beginLayout();
        for (QTextLine line = m_layout.createLine(); line.isValid(); line = m_layout.createLine()) {
            line.setLineWidth(width);
            line.setPosition({ 0, m_height });
            m_height += line.height();
        }
        m_layout.endLayout();
    }

    int height() const { return int(std::ceil(m_height)); }
    /// Draws the text vertically centred in `place`, which must have the width that the constructor got.
    void draw(QPainter& painter, const QRect& place) const
    {
        const int above = (place.height() - height()) / 2;
        m_layout.draw(&painter, place.topLeft() + QPoint(0, above));
    }

private:
    QTextLayout m_layout;
    double m_height = 0;
};

/// Draws headings and page rows; their heights depend on their texts.
class SidebarDelegate final : public QStyledItemDelegate {
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    QSize sizeHint(const QStyleOptionViewItem& option, const QModelIndex& index) const override
    {
        const int width = static_cast<const QListView*>(option.widget)->viewport()->width();
        if (!isPage(index)) {
            const int text = wrapped(index, headingRect({ 0, 0, width, 0 }), option).height();
            return { 0, std::max(headingHeight, text + 2 * headingRoom) + headingGap };
        }
        const int text = wrapped(index, titleRect(rowRect({ 0, 0, width, 0 })), option).height();
        return { 0, std::max(pageRowHeight, text + 2 * rowRoom) + rowGap };
    }

    void paint(QPainter* painter, const QStyleOptionViewItem& option, const QModelIndex& index) const override
    {
        painter->save();
        if (isPage(index))
            paintRow(*painter, option, index);
        else
            paintHeading(*painter, option, index);
        painter->restore();
    }

private:
    static bool isPage(const QModelIndex& index) { return index.data(pageRole).isValid(); }
    static WrappedText wrapped(
        const QModelIndex& index, const QRect& place, const QStyleOptionViewItem& option)
    {
        return { index.data().toString(),
            Theme::font(isPage(index) ? Theme::TextStyle::body : Theme::TextStyle::sidebarHeading),
            double(std::max(place.width(), 1)), option.direction };
    }

    // The rectangles are for left-to-right text.
    static QRect headingRect(const QRect& item)
    {
        return item.adjusted(rowInset + rowPadding, headingGap, -rowInset - rowPadding, 0);
    }
    static QRect rowRect(const QRect& item) { return item.adjusted(rowInset, 0, -rowInset, -rowGap); }
    static QRect titleRect(const QRect& row)
    {
        return row.adjusted(rowPadding + pageSymbolBox + pageSymbolGap, 0, -rowPadding, 0);
    }

    static void paintHeading(QPainter& painter, const QStyleOptionViewItem& option, const QModelIndex& index)
    {
        const QRect place = headingRect(option.rect);
        painter.setPen(Theme::colour(Theme::Colour::sidebarSecondaryText));
        wrapped(index, place, option).draw(painter, place);
    }

    static void paintRow(QPainter& painter, const QStyleOptionViewItem& option, const QModelIndex& index)
    {
        const bool isSelected = option.state.testFlag(QStyle::State_Selected);
        // Do not use the state in `option`, which also requires the focus.
        const bool isActive = option.widget && option.widget->isActiveWindow();
        const QRect row = rowRect(option.rect);
        painter.setRenderHint(QPainter::Antialiasing);
        if (isSelected || option.state.testFlag(QStyle::State_MouseOver)) {
            using Theme::Colour;
            painter.setPen(Qt::NoPen);
            painter.setBrush(Theme::colour(!isSelected ? Colour::rowHovered
                    : isActive                         ? Colour::selection
                                                       : Colour::inactiveSelection));
            painter.drawRoundedRect(row, rowRadius, rowRadius);
        }
        if (option.state.testFlag(QStyle::State_HasFocus)
            && option.state.testFlag(QStyle::State_KeyboardFocusChange)) {
            constexpr double reach = Theme::focusRingGap + Theme::focusRingWidth / 2;
            painter.setBrush(Qt::NoBrush);
            painter.setPen(QPen(Theme::colour(Theme::Colour::focusRing), Theme::focusRingWidth));
            painter.drawRoundedRect(
                QRectF(row).adjusted(-reach, -reach, reach, reach), rowRadius + reach, rowRadius + reach);
        }

        const QColor ink
            = Theme::colour(isSelected && isActive ? Theme::Colour::onSelection : Theme::Colour::text);
        QRect symbolPlace(
            row.left() + rowPadding, row.center().y() - pageSymbolBox / 2 + 1, pageSymbolBox, pageSymbolBox);
        symbolPlace = QStyle::visualRect(option.direction, row, symbolPlace);
        const QRect text = QStyle::visualRect(option.direction, row, titleRect(row));

        const auto page = index.data(pageRole).value<SettingsPage>();
        const double scale = painter.deviceTransform().m11();
        const QImage symbol = SymbolImage::image(
            QLatin1StringView(enumerationCase(page).symbol), pageSymbolPoints, ink, scale);
        const QSizeF size = symbol.deviceIndependentSize();
        painter.drawImage(
            QPointF(qRound((symbolPlace.left() + (pageSymbolBox - size.width()) / 2) * scale) / scale,
                qRound((symbolPlace.top() + (pageSymbolBox - size.height()) / 2) * scale) / scale),
            symbol);

        painter.setPen(ink);
        wrapped(index, text, option).draw(painter, text);
    }
};

} // namespace

Sidebar::Sidebar(QWidget* parent)
    : QListView(parent)
{
    auto* model = new QStandardItemModel(this);
    const char* group = nullptr;
    for (const auto& page : allCases<SettingsPage>()) {
        if (std::exchange(group, page.group) != page.group) {
            auto* heading = new QStandardItem(AppLanguage::string(page.group));
            heading->setFlags(Qt::NoItemFlags);
            model->appendRow(heading);
        }
        auto* row = new QStandardItem(AppLanguage::string(page.title));
        row->setData(QVariant::fromValue(page.value), pageRole);
        row->setFlags(Qt::ItemIsEnabled | Qt::ItemIsSelectable);
        model->appendRow(row);
    }
    setModel(model);
    setItemDelegate(new SidebarDelegate(this));
    setFrameShape(NoFrame);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setEditTriggers(NoEditTriggers);
    setSelectionMode(SingleSelection);
    setAccessibleName(AppLanguage::string("Pages"));
    // Let the sidebar's background show through.
    viewport()->setAutoFillBackground(false);
    // Repaint rows when the pointer enters or leaves.
    viewport()->setAttribute(Qt::WA_Hover);
}

QModelIndex Sidebar::index(SettingsPage page) const
{
    return model()
        ->match(model()->index(0, 0), pageRole, QVariant::fromValue(page), 1, Qt::MatchExactly)
        .value(0);
}

SettingsPage Sidebar::page() const
{
    return currentIndex().data(pageRole).value<SettingsPage>();
}

void Sidebar::setPage(SettingsPage page)
{
    const QSignalBlocker blocker(this);
    setCurrentIndex(index(page));
}

void Sidebar::currentChanged(const QModelIndex& current, const QModelIndex& previous)
{
    QListView::currentChanged(current, previous);
    // The focus ring is larger than the rows that the base class repaints.
    viewport()->update();
    if (current.isValid())
        Q_EMIT pageSelected(page());
}

void Sidebar::selectionChanged(const QItemSelection& selected, const QItemSelection& deselected)
{
    QListView::selectionChanged(selected, deselected);
    // Assistive programs select a row but do not make it the current one.
    if (!selected.isEmpty())
        setCurrentIndex(selected.indexes().first());
}

void Sidebar::resizeEvent(QResizeEvent* event)
{
    QListView::resizeEvent(event);
    // The base class does not know that the height of a row depends on the width.
    if (event->size().width() != event->oldSize().width())
        doItemsLayout();
}

QItemSelectionModel::SelectionFlags Sidebar::selectionCommand(
    const QModelIndex& index, const QEvent* event) const
{
    // One page is always selected, but the base class deselects while Ctrl is held.
    const auto command = QListView::selectionCommand(index, event);
    return !index.isValid() || command.testFlag(QItemSelectionModel::Deselect) ? QItemSelectionModel::NoUpdate
                                                                               : command;
}

QModelIndex Sidebar::moveCursor(CursorAction action, Qt::KeyboardModifiers modifiers)
{
    // The first row is a heading, so the base class would not move.
    if (action == MoveHome || action == MovePageUp)
        return index(allCases<SettingsPage>()[0].value);
    return QListView::moveCursor(action, modifiers);
}

} // namespace kestrum
