#include "Kestrum/Window/Sidebar.h"

#include "Kestrum/Form/Theme.h"
#include "KestrumShared/Text/AppLanguage.h"
#include "Platform/SymbolImage.h"

#include <QPainter>
#include <QStandardItemModel>
#include <QStyledItemDelegate>
#include <algorithm>

namespace kestrum {

namespace {

// Only page rows have it.
constexpr int pageRole = Qt::UserRole;

constexpr int rowHeight = 30;
constexpr int rowGap = 2;
constexpr int rowInset = 8;
constexpr int rowPadding = 10;
constexpr double rowRadius = 7;
constexpr int symbolBox = 16;
constexpr int symbolPoints = 14; // the widest of them fills the box
constexpr int symbolGap = 8;
constexpr int headingHeight = 26;
constexpr int headingGap = 8; ///< above each heading

/// Draws headings and page rows.
class SidebarDelegate final : public QStyledItemDelegate {
public:
    using QStyledItemDelegate::QStyledItemDelegate;

    QSize sizeHint(const QStyleOptionViewItem&, const QModelIndex& index) const override
    {
        if (!isPage(index))
            return { 0, std::max(headingHeight, headingFont().lineSpacing() + 8) + headingGap };
        return { 0, std::max(rowHeight, rowFont().lineSpacing() + 12) + rowGap };
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
    static QFontMetrics headingFont() { return QFontMetrics(Theme::font(Theme::TextStyle::sidebarHeading)); }
    static QFontMetrics rowFont() { return QFontMetrics(Theme::font(Theme::TextStyle::body)); }

    static void paintHeading(QPainter& painter, const QStyleOptionViewItem& option, const QModelIndex& index)
    {
        const QFont font = Theme::font(Theme::TextStyle::sidebarHeading);
        const QRect text = option.rect.adjusted(rowInset + rowPadding, headingGap, -rowInset - rowPadding, 0);
        painter.setFont(font);
        painter.setPen(Theme::colour(Theme::Colour::sidebarSecondaryText));
        painter.drawText(text, int(Qt::AlignVCenter | Qt::AlignLeading),
            QFontMetrics(font).elidedText(index.data().toString(), Qt::ElideRight, text.width()));
    }

    static void paintRow(QPainter& painter, const QStyleOptionViewItem& option, const QModelIndex& index)
    {
        const bool isSelected = option.state.testFlag(QStyle::State_Selected);
        // Not the option's own state, which also asks for the keyboard focus.
        const bool isActive = option.widget && option.widget->isActiveWindow();
        const QRect row = option.rect.adjusted(rowInset, 0, -rowInset, -rowGap);
        painter.setRenderHint(QPainter::Antialiasing);
        if (isSelected) {
            painter.setPen(Qt::NoPen);
            painter.setBrush(
                Theme::colour(isActive ? Theme::Colour::selection : Theme::Colour::inactiveSelection));
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
            row.left() + rowPadding, row.center().y() - symbolBox / 2 + 1, symbolBox, symbolBox);
        QRect text = row.adjusted(rowPadding + symbolBox + symbolGap, 0, -rowPadding, 0);
        const Qt::LayoutDirection direction = option.direction;
        symbolPlace = QStyle::visualRect(direction, row, symbolPlace);
        text = QStyle::visualRect(direction, row, text);

        const auto page = index.data(pageRole).value<SettingsPage>();
        const double scale = painter.deviceTransform().m11();
        const QImage symbol = SymbolImage::image(kestrum::symbol(page), symbolPoints, ink, scale);
        const QSizeF size = symbol.deviceIndependentSize();
        painter.drawImage(
            QPointF(qRound((symbolPlace.left() + (symbolBox - size.width()) / 2) * scale) / scale,
                qRound((symbolPlace.top() + (symbolBox - size.height()) / 2) * scale) / scale),
            symbol);

        const QFont font = Theme::font(Theme::TextStyle::body);
        painter.setFont(font);
        painter.setPen(ink);
        painter.drawText(text, int(Qt::AlignVCenter | Qt::AlignLeading),
            QFontMetrics(font).elidedText(index.data().toString(), Qt::ElideRight, text.width()));
    }
};

} // namespace

Sidebar::Sidebar(QWidget* parent)
    : QListView(parent)
{
    auto* model = new QStandardItemModel(this);
    for (const SettingsPageGroup& group : settingsPageGroups()) {
        auto* heading = new QStandardItem(group.title);
        heading->setFlags(Qt::NoItemFlags);
        model->appendRow(heading);
        for (const SettingsPage page : group.pages) {
            auto* row = new QStandardItem(title(page));
            row->setData(QVariant::fromValue(page), pageRole);
            row->setFlags(Qt::ItemIsEnabled | Qt::ItemIsSelectable);
            model->appendRow(row);
        }
    }
    setModel(model);
    setItemDelegate(new SidebarDelegate(this));
    setFrameShape(NoFrame);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setEditTriggers(NoEditTriggers);
    setSelectionMode(SingleSelection);
    setAccessibleName(AppLanguage::string("Pages"));
    // The sidebar's ground shows through.
    viewport()->setAutoFillBackground(false);
    setPage(SettingsPage::menuBar);
}

QModelIndex Sidebar::index(SettingsPage page) const
{
    for (int row = 0; row < model()->rowCount(); ++row) {
        const QModelIndex index = model()->index(row, 0);
        const QVariant found = index.data(pageRole);
        if (found.isValid() && found.value<SettingsPage>() == page)
            return index;
    }
    return {};
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
    // The focus ring reaches beyond the rows that the base class repaints.
    viewport()->update();
    if (current.isValid())
        Q_EMIT pageSelected(page());
}

QModelIndex Sidebar::moveCursor(CursorAction action, Qt::KeyboardModifiers modifiers)
{
    // The first row is a heading, where the base class would stay.
    if (action == MoveHome || action == MovePageUp)
        return index(allCases<SettingsPage>()[0].value);
    return QListView::moveCursor(action, modifiers);
}

} // namespace kestrum
