#include "Kestrum/Window/SaveNotice.h"

#include "Kestrum/Form/FormPage.h"
#include "Kestrum/Form/Theme.h"
#include "KestrumShared/Text/AppLanguage.h"

#include <QAccessible>
#include <QPainter>
#include <cmath>

namespace kestrum {

namespace {

constexpr int padding = 8; // above and below

} // namespace

SaveNotice::SaveNotice(QWidget* parent)
    : QWidget(parent)
{
    setSizePolicy(QSizePolicy::Ignored, QSizePolicy::Fixed);
    setFont(Theme::font(Theme::TextStyle::body));
    hide();
}

void SaveNotice::setReason(const QString& reason)
{
    if (reason.isEmpty()) {
        hide();
        return;
    }
    m_heading = AppLanguage::string("Settings are not being saved:") + u' ';
    m_reason = reason;
    setAccessibleName(m_heading + m_reason);
    // Where the line is too long for the page, the reason loses its beginning, which is the path of a file.
    setToolTip(m_heading + m_reason);
    update();
    show();
    QAccessibleEvent alert(this, QAccessible::Alert);
    QAccessible::updateAccessibility(&alert);
}

QSize SaveNotice::sizeHint() const
{
    const QFontMetricsF metrics(font());
    const double width = metrics.horizontalAdvance(m_heading) + metrics.horizontalAdvance(m_reason);
    return { int(std::ceil(width)) + 2 * Theme::pageMargin, fontMetrics().lineSpacing() + 2 * padding + 1 };
}

QSize SaveNotice::minimumSizeHint() const
{
    return { 0, sizeHint().height() };
}

QRect SaveNotice::line() const
{
    const int margin = FormPage::margin(width());
    return rect().adjusted(margin, padding, -margin, -padding - 1);
}

QString SaveNotice::shownText() const
{
    const QFontMetricsF metrics(font());
    const double room = line().width();
    const QString text = m_heading
        + metrics.elidedText(m_reason, Qt::ElideLeft, room - metrics.horizontalAdvance(m_heading));
    return metrics.elidedText(text, Qt::ElideRight, room);
}

void SaveNotice::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setPen(Theme::colour(Theme::Colour::error));
    painter.drawText(line(), int(Qt::AlignLeading | Qt::AlignVCenter), shownText());
    painter.fillRect(0, height() - 1, width(), 1, Theme::colour(Theme::Colour::separator));
}

} // namespace kestrum
