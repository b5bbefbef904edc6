// SPDX-License-Identifier: MIT
#include "Kestrum/Form/FocusRing.h"

#include "Kestrum/Form/Theme.h"

#include <QPainter>

namespace kestrum {

namespace {

constexpr int reach = int(Theme::focusRingGap + Theme::focusRingWidth);

QRect placeOf(const QWidget& control, const QWidget* room)
{
    const QRect place(control.mapTo(room, QPoint(0, 0)), control.size());
    return place.adjusted(-reach, -reach, reach, reach);
}

/// The nearest ancestor that does not clip the ring, else the window. The direct parent may be exactly as large as the control.
QWidget* roomAround(const QWidget& control)
{
    QWidget* room = control.parentWidget();
    while (!room->isWindow() && !room->rect().contains(placeOf(control, room)))
        room = room->parentWidget();
    return room;
}

} // namespace

void FocusRing::mark(QWidget& control, double radius, const QFocusEvent& event)
{
    const Qt::FocusReason reason = event.reason();
    const bool isByKeyboard = reason == Qt::TabFocusReason || reason == Qt::BacktabFocusReason
        || reason == Qt::ShortcutFocusReason;
    // A control gets the focus back when the window becomes active again or the control's list closes. The ring then comes back
    // too, if the keyboard was in use.
    const bool isBack = (reason == Qt::ActiveWindowFocusReason || reason == Qt::PopupFocusReason)
        && control.window()->testAttribute(Qt::WA_KeyboardFocusChange);
    if (!control.isWindow() && (isByKeyboard || isBack))
        new FocusRing(control, roomAround(control), radius);
}

FocusRing::FocusRing(QWidget& control, QWidget* room, double radius)
    : QWidget(room)
    , m_control(&control)
    , m_radius(radius)
{
    setAttribute(Qt::WA_TransparentForMouseEvents);
    setFocusPolicy(Qt::NoFocus);
    for (QWidget* moving = &control; moving != room; moving = moving->parentWidget())
        moving->installEventFilter(this);
    connect(&control, &QObject::destroyed, this, &FocusRing::end);
    surround();
    show();
    raise();
}

void FocusRing::surround()
{
    if (m_control)
        setGeometry(placeOf(*m_control, parentWidget()));
}

void FocusRing::end()
{
    m_control = nullptr;
    hide();
    deleteLater();
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
    case QEvent::MouseButtonPress:
        if (watched == m_control)
            end();
        break;
    case QEvent::Hide:
    case QEvent::ParentAboutToChange:
        end();
        break;
    default:
        break;
    }
    return QWidget::eventFilter(watched, event);
}

} // namespace kestrum
