// SPDX-License-Identifier: MIT
#include "Kestrum/MenuBar/MenuBarPreview.h"

#include "Kestrum/Form/Theme.h"
#include "Kestrum/MenuBar/MenuBarStrip.h"
#include "Kestrum/MenuBar/MenuBarStripView.h"

#include <QEvent>
#include <QPainter>
#include <QStyle>
#include <algorithm>

namespace kestrum {

namespace {

constexpr int innerPadding = 14;
constexpr int outerPadding = 16;
constexpr double previewPlateRadius = 14;

/// The margin around the strip widget, which already has `room` around its items.
constexpr QSize margin
    = QSize(innerPadding + outerPadding, innerPadding + outerPadding) - MenuBarStripView::room;
/// The margin beside a strip that is too wide. It can be small: the strip widget's own `room` keeps the items off the plate's
/// corners.
constexpr int leastMargin = 1;

} // namespace

MenuBarPreview::MenuBarPreview(QWidget* parent)
    : QWidget(parent)
    , m_strip(new MenuBarStrip(this))
{
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
    place();
}

QSize MenuBarPreview::sizeHint() const
{
    return m_strip->sizeHint() + 2 * margin;
}

QSize MenuBarPreview::minimumSizeHint() const
{
    return m_strip->minimumSizeHint() + 2 * margin;
}

void MenuBarPreview::place()
{
    const QSize whole = m_strip->sizeHint();
    const int side = std::clamp((width() - whole.width()) / 2, leastMargin, margin.width());
    const QSize size(std::min(whole.width(), width() - 2 * side), whole.height());
    const QRect room = rect().adjusted(side, 0, -side, 0);
    m_strip->setGeometry(
        QStyle::alignedRect(layoutDirection(), Qt::AlignRight | Qt::AlignVCenter, size, room));
}

bool MenuBarPreview::event(QEvent* event)
{
    const QEvent::Type type = event->type();
    // A layout request reports that the strip's size hint has changed.
    if (type == QEvent::LayoutRequest)
        updateGeometry();
    if (type == QEvent::LayoutRequest || type == QEvent::Resize || type == QEvent::LayoutDirectionChange)
        place();
    return QWidget::event(event);
}

void MenuBarPreview::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(Qt::NoPen);
    painter.setBrush(Theme::colour(Theme::Colour::previewPlate));
    painter.drawRoundedRect(rect(), previewPlateRadius, previewPlateRadius);
}

} // namespace kestrum
