#include "Kestrum/Form/FormPage.h"

#include "Kestrum/Form/PageScrollBar.h"
#include "Kestrum/Form/Theme.h"

#include <QApplication>
#include <QVBoxLayout>
#include <algorithm>

namespace kestrum {

namespace {

/// Where texts wrap, the height follows the width. The least height, that of the texts at their narrowest, would have a page that
/// fits scroll by a few points.
class Column final : public QWidget {
public:
    QSize minimumSizeHint() const override
    {
        const QSize least = QWidget::minimumSizeHint();
        return layout()->hasHeightForWidth() ? QSize(least.width(), 0) : least;
    }
};

} // namespace

FormPage::FormPage(QWidget* parent)
    : QScrollArea(parent)
{
    setFrameShape(NoFrame);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setWidgetResizable(true);
    // The page itself takes no keyboard focus, its controls do.
    setFocusPolicy(Qt::NoFocus);
    auto* column = new Column;
    auto* layout = new QVBoxLayout(column);
    layout->setSpacing(Theme::sectionGap);
    layout->addStretch(1);
    setWidget(column);
    // The window's ground shows through.
    viewport()->setAutoFillBackground(false);
    column->setAutoFillBackground(false);
    new PageScrollBar(*this);
    layOut();
    // The base class sees to a focus that moves within the page; it may also come from outside, to a control that is not in view.
    connect(qApp, &QApplication::focusChanged, this, [this](QWidget*, QWidget* now) {
        if (now && widget()->isAncestorOf(now) && now->window()->testAttribute(Qt::WA_KeyboardFocusChange))
            ensureWidgetVisible(now);
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
