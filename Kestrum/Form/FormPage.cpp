// SPDX-License-Identifier: MIT
#include "Kestrum/Form/FormPage.h"

#include "Kestrum/Form/PageScrollBar.h"
#include "Kestrum/Form/PopupPicker.h"
#include "Kestrum/Form/SegmentedPicker.h"
#include "Kestrum/Form/Theme.h"

#include <QApplication>
#include <QVBoxLayout>
#include <algorithm>

namespace kestrum {

namespace {

/// The column of sections. Texts wrap, so the height depends on the width, and the layout's minimum height is for the narrowest
/// width. With this minimum even a page that fits would scroll, so the column has no minimum height.
class Column final : public QWidget {
public:
    QSize minimumSizeHint() const override
    {
        const QSize least = QWidget::minimumSizeHint();
        return layout()->hasHeightForWidth() ? QSize(least.width(), 0) : least;
    }
};

/// Makes all pickers of type `Picker` on `page` as wide as the widest of them.
template <class Picker> void shareWidth(const QWidget& page)
{
    const auto pickers = page.findChildren<Picker*>();
    int widest = 0;
    for (const Picker* picker : pickers)
        widest = std::max(widest, picker->ownWidth());
    for (Picker* picker : pickers)
        picker->setSharedWidth(widest);
}

/// The widgets in `part` that Tab reaches, in tab order.
QList<const QWidget*> tabStops(const QWidget& part)
{
    QList<const QWidget*> stops;
    for (const QWidget* child : part.findChildren<QWidget*>()) {
        if (child->focusPolicy() & Qt::TabFocus && child->isVisible() && child->isEnabled())
            stops.append(child);
    }
    return stops;
}

} // namespace

FormPage::FormPage(QWidget* parent)
    : QScrollArea(parent)
{
    setFrameShape(NoFrame);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setWidgetResizable(true);
    // Only the controls on the page take the focus.
    setFocusPolicy(Qt::NoFocus);
    auto* column = new Column;
    auto* layout = new QVBoxLayout(column);
    layout->setSpacing(Theme::sectionGap);
    layout->addStretch(1);
    setWidget(column);
    // Let the window's background show through.
    viewport()->setAutoFillBackground(false);
    column->setAutoFillBackground(false);
    new PageScrollBar(*this);
    layOut();
    // The base class scrolls only when the focus moves within the page. The focus can also come from outside, to a control that
    // is not in view.
    connect(qApp, &QApplication::focusChanged, this, [this](QWidget*, QWidget* now) {
        if (now && widget()->isAncestorOf(now) && now->window()->testAttribute(Qt::WA_KeyboardFocusChange))
            bringIntoView(*now);
    });
}

int FormPage::margin(int pageWidth)
{
    return pageWidth < Theme::narrowPageWidth ? Theme::narrowPageMargin : Theme::pageMargin;
}

void FormPage::add(Card* section)
{
    auto* layout = static_cast<QVBoxLayout*>(widget()->layout());
    layout->insertWidget(layout->count() - 1, section);
    shareWidth<PopupPicker>(*widget());
    shareWidth<SegmentedPicker>(*widget());
}

void FormPage::bringIntoView(const QWidget& control)
{
    const auto placeOf
        = [this](const QWidget& part) { return QRect(part.mapTo(widget(), QPoint(0, 0)), part.size()); };
    const QRect own = placeOf(control);
    QRect wanted = own;
    const auto takeIn = [&wanted, &control](const QList<const QWidget*>& stops, const QRect& all) {
        if (stops.value(0) == &control)
            wanted.setTop(all.top());
        if (!stops.isEmpty() && stops.last() == &control)
            wanted.setBottom(all.bottom());
    };
    for (const QWidget* part = control.parentWidget(); part != widget(); part = part->parentWidget()) {
        if (qobject_cast<const Card*>(part))
            takeIn(tabStops(*part), placeOf(*part));
    }
    takeIn(tabStops(*widget()), widget()->rect());
    if (wanted.height() > viewport()->height())
        wanted = own;
    // `bottom()` is the last row of pixels; the edge is one pixel lower.
    ensureVisible(wanted.center().x(), wanted.bottom() + 1, 0, 0);
    ensureVisible(wanted.center().x(), wanted.top(), 0, 0);
}

void FormPage::resizeEvent(QResizeEvent* event)
{
    layOut();
    QScrollArea::resizeEvent(event);
}

void FormPage::layOut()
{
    const int pageWidth = viewport()->width();
    const int margin = FormPage::margin(pageWidth);
    const int columnWidth = std::min(pageWidth - 2 * margin, Theme::maximumCardWidth);
    const int leading = (pageWidth - columnWidth) / 2;
    widget()->layout()->setContentsMargins(leading, margin, pageWidth - columnWidth - leading, margin);
}

} // namespace kestrum
