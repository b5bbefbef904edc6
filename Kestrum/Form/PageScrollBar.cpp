// SPDX-License-Identifier: MIT
#include "Kestrum/Form/PageScrollBar.h"

#include "Kestrum/Form/Theme.h"

#include <QEvent>
#include <QMouseEvent>
#include <QPainter>
#include <QScrollArea>
#include <QScrollBar>
#include <algorithm>

namespace kestrum {

namespace {

constexpr int barWidth = 12;
constexpr int thumbWidth = 6;
constexpr int endGap = 3; ///< above and below the thumb's track
constexpr int leastThumb = 28;

} // namespace

PageScrollBar::PageScrollBar(QScrollArea& area)
    : QWidget(&area)
    , m_area(area)
    , m_bar(*area.verticalScrollBar())
{
    setAttribute(Qt::WA_Hover);
    area.setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    area.installEventFilter(this);
    connect(&m_bar, &QScrollBar::valueChanged, this, qOverload<>(&QWidget::update));
    connect(&m_bar, &QScrollBar::rangeChanged, this, &PageScrollBar::place);
    place();
}

QRect PageScrollBar::thumb() const
{
    const int way = height() - 2 * endGap;
    const int range = m_bar.maximum(); // a scroll area begins at 0
    const int whole = range + m_bar.pageStep();
    const int length = whole > 0 ? std::min(way, std::max(leastThumb, way * m_bar.pageStep() / whole)) : way;
    const int top = range > 0 ? (way - length) * m_bar.value() / range : 0;
    return { (width() - thumbWidth) / 2, endGap + top, thumbWidth, length };
}

void PageScrollBar::place()
{
    const bool isLeading = m_area.layoutDirection() == Qt::RightToLeft;
    setGeometry(isLeading ? 0 : m_area.width() - barWidth, 0, barWidth, m_area.height());
    setVisible(m_bar.maximum() > 0);
    raise();
    update();
}

void PageScrollBar::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(Theme::colourOn(Theme::Colour::window,
        m_grabbed || underMouse() ? Theme::Colour::scrollThumbHovered : Theme::Colour::scrollThumb));
    painter.drawRoundedRect(thumb(), thumbWidth / 2.0, thumbWidth / 2.0);
}

void PageScrollBar::mousePressEvent(QMouseEvent* event)
{
    if (event->button() != Qt::LeftButton)
        return;
    const QRect held = thumb();
    const int y = event->position().toPoint().y();
    if (y >= held.top() && y <= held.bottom())
        m_grabbed = y - held.top();
    else
        m_bar.triggerAction(y < held.top() ? QScrollBar::SliderPageStepSub : QScrollBar::SliderPageStepAdd);
}

void PageScrollBar::mouseMoveEvent(QMouseEvent* event)
{
    if (!m_grabbed)
        return;
    const int way = height() - 2 * endGap - thumb().height();
    const int top = event->position().toPoint().y() - *m_grabbed - endGap;
    if (way > 0)
        m_bar.setValue(int(qint64(m_bar.maximum()) * std::clamp(top, 0, way) / way));
}

void PageScrollBar::mouseReleaseEvent(QMouseEvent*)
{
    m_grabbed.reset();
    update();
}

bool PageScrollBar::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() == QEvent::Resize || event->type() == QEvent::LayoutDirectionChange)
        place();
    return QWidget::eventFilter(watched, event);
}

} // namespace kestrum
