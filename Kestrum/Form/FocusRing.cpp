#include "Kestrum/Form/FocusRing.h"

#include "Kestrum/Form/Theme.h"

#include <QPainter>

namespace kestrum {

namespace {

constexpr int reach = int(Theme::focusRingGap + Theme::focusRingWidth);

} // namespace

void FocusRing::mark(QWidget& control, double radius, const QFocusEvent& event)
{
    const Qt::FocusReason reason = event.reason();
    const bool isByKeyboard = reason == Qt::TabFocusReason || reason == Qt::BacktabFocusReason
        || reason == Qt::ShortcutFocusReason;
    // A window that is active again has its focus where it was, and the mark with it.
    const bool isBack = reason == Qt::ActiveWindowFocusReason
        && control.window()->testAttribute(Qt::WA_KeyboardFocusChange);
    if (control.parentWidget() && (isByKeyboard || isBack))
        new FocusRing(control, radius);
}

FocusRing::FocusRing(QWidget& control, double radius)
    : QWidget(control.parentWidget())
    , m_control(control)
    , m_radius(radius)
{
    setAttribute(Qt::WA_TransparentForMouseEvents);
    setFocusPolicy(Qt::NoFocus);
    control.installEventFilter(this);
    connect(&control, &QObject::destroyed, this, &QObject::deleteLater);
    surround();
    show();
    raise();
}

void FocusRing::surround()
{
    setGeometry(m_control.geometry().adjusted(-reach, -reach, reach, reach));
}

void FocusRing::paintEvent(QPaintEvent*)
{
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setPen(QPen(Theme::colour(Theme::Colour::focusRing), Theme::focusRingWidth));
    constexpr double half = Theme::focusRingWidth / 2;
    const double radius = m_radius + Theme::focusRingGap + half;
    painter.drawRoundedRect(QRectF(rect()).adjusted(half, half, -half, -half), radius, radius);
}

bool FocusRing::eventFilter(QObject* watched, QEvent* event)
{
    switch (event->type()) {
    case QEvent::Move:
    case QEvent::Resize:
        surround();
        break;
    case QEvent::FocusOut:
    case QEvent::Hide:
    case QEvent::MouseButtonPress:
    case QEvent::ParentAboutToChange:
        hide();
        watched->removeEventFilter(this);
        deleteLater();
        break;
    default:
        break;
    }
    return QWidget::eventFilter(watched, event);
}

} // namespace kestrum
