#include "Kestrum/Window/SaveNotice.h"

#include "Kestrum/Form/Theme.h"
#include "KestrumShared/Text/AppLanguage.h"

#include <QAccessible>
#include <QPainter>

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
    m_text = AppLanguage::string("Settings are not being saved:") + u' ' + reason;
    setAccessibleName(m_text);
    // Where the line is too long for the page, the middle of it is left out.
    setToolTip(m_text);
    update();
    show();
    QAccessibleEvent alert(this, QAccessible::Alert);
    QAccessible::updateAccessibility(&alert);
}

QSize SaveNotice::sizeHint() const
{
    return { fontMetrics().horizontalAdvance(m_text) + 2 * Theme::pageMargin,
        fontMetrics().lineSpacing() + 2 * padding + 1 };
}

QSize SaveNotice::minimumSizeHint() const
{
    return { 0, sizeHint().height() };
}

void SaveNotice::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    const int margin = width() < Theme::narrowPageWidth ? Theme::narrowPageMargin : Theme::pageMargin;
    const QRect line = rect().adjusted(margin, padding, -margin, -padding - 1);
    painter.setPen(Theme::colour(Theme::Colour::error));
    painter.drawText(line, int(Qt::AlignLeading | Qt::AlignVCenter),
        fontMetrics().elidedText(m_text, Qt::ElideMiddle, line.width()));
    painter.fillRect(0, height() - 1, width(), 1, Theme::colour(Theme::Colour::separator));
}

} // namespace kestrum
