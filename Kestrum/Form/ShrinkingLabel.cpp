#include "Kestrum/Form/ShrinkingLabel.h"

#include <QHelpEvent>
#include <QPainter>
#include <QToolTip>
#include <algorithm>
#include <cmath>

namespace kestrum {

namespace {

constexpr double smallestFactor = 0.8;
constexpr double shrinkingStep = 0.02;

} // namespace

ShrinkingLabel::ShrinkingLabel(Theme::TextStyle style, Theme::Colour colour, QWidget* parent)
    : QLabel(parent)
    , m_colour(colour)
{
    setFont(Theme::font(style));
    setTextFormat(Qt::PlainText);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Fixed);
}

QFont ShrinkingLabel::shownFont() const
{
    const double room = contentsRect().width();
    const auto width = [this](const QFont& font) { return QFontMetricsF(font).horizontalAdvance(text()); };
    QFont shown = font();
    // Widths are only nearly in proportion to sizes.
    double factor = std::clamp(room / std::max(width(shown), 1.0), smallestFactor, 1.0);
    shown.setPointSizeF(font().pointSizeF() * factor);
    while (width(shown) > room && factor > smallestFactor) {
        factor = std::max(factor - shrinkingStep, smallestFactor);
        shown.setPointSizeF(font().pointSizeF() * factor);
    }
    return shown;
}

QString ShrinkingLabel::shownText() const
{
    return QFontMetricsF(shownFont()).elidedText(text(), Qt::ElideRight, contentsRect().width());
}

QSize ShrinkingLabel::sizeHint() const
{
    const QFontMetricsF metrics(font());
    return { int(std::ceil(metrics.horizontalAdvance(text()))), int(std::ceil(metrics.height())) };
}

QSize ShrinkingLabel::minimumSizeHint() const
{
    return { 0, sizeHint().height() };
}

bool ShrinkingLabel::event(QEvent* event)
{
    if (event->type() != QEvent::ToolTip)
        return QLabel::event(event);
    if (shownText() != text())
        QToolTip::showText(static_cast<QHelpEvent*>(event)->globalPos(), text(), this);
    return true;
}

void ShrinkingLabel::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setLayoutDirection(layoutDirection());
    painter.setFont(shownFont());
    painter.setPen(Theme::colour(m_colour));
    painter.drawText(
        contentsRect(), int(Qt::AlignLeading | Qt::AlignVCenter | Qt::TextSingleLine), shownText());
}

} // namespace kestrum
