// SPDX-License-Identifier: MIT
#include "KestrumAgent/Panel/DockStand.h"

#include "KestrumAgent/Panel/PanelStrip.h"
#include "Platform/Desktop/X11Window.h"

#include <QCursor>
#include <QEvent>
#include <QGuiApplication>
#include <QScreen>
#include <QWindow>
#include <algorithm>
#include <utility>

namespace kestrum {

namespace {

/// Whether the strip's window is in the lower half of the free area.
bool isLow(const QRect& strip, const QRect& free)
{
    return strip.center().y() > free.center().y();
}

} // namespace

DockStand::DockStand(PanelStrip& strip)
    : m_strip(strip)
{
    connect(qGuiApp, &QGuiApplication::screenRemoved, this, [this](const QScreen* gone) {
        if (m_window && (m_window->screen() == gone || m_strip.screen() == gone))
            Q_EMIT dismissed();
    });
}

void DockStand::setGround(const QRect& strip, const QRect& free)
{
    const bool isOther = std::exchange(m_ground, strip) != strip;
    if (std::exchange(m_free, free) != free || isOther)
        Q_EMIT roomChanged();
}

QRect DockStand::place(QSize size, const QRect& item, const QRect& strip, const QRect& free)
{
    const int top = isLow(strip, free) ? strip.top() - stripDistance - size.height()
                                       : strip.bottom() + 1 + stripDistance;
    const int farthest = free.right() + 1 - edgeDistance - size.width();
    const int centred = item.left() + (item.width() - size.width()) / 2;
    return { QPoint(std::max(free.left() + edgeDistance, std::min(centred, farthest)), top), size };
}

int DockStand::room() const
{
    return isLow(m_ground, m_free) ? m_ground.top() - stripDistance - m_free.top() - edgeDistance
                                   : m_free.bottom() - m_ground.bottom() - stripDistance - edgeDistance;
}

QMargins DockStand::shadowRoom() const
{
    return shadowRoomBeside(isLow(m_ground, m_free) ? Qt::BottomEdge : Qt::TopEdge);
}

void DockStand::show(QWidget& window, QSize size, const QRect& item)
{
    const bool isNew = m_window != &window;
    if (isNew)
        open(window);
    const QRect placed = place(size, item.translated(m_ground.topLeft()), m_ground, m_free);
    if (isNew || m_place != placed) {
        m_place = placed;
        const QMargins shadow = window.contentsMargins();
        const QRect whole = placed.marginsAdded(shadow);
        window.setFixedSize(whole.size());
        window.move(whole.topLeft());
        const auto x11 = shadow.isNull() ? std::nullopt : X11Window::of(*window.windowHandle());
        const qreal ratio = window.devicePixelRatio();
        if (x11)
            x11->setShadow(whole.size() * ratio, (QMarginsF(shadow) * ratio).toMargins());
    }
    if (!isNew)
        return;
    // The strip is on every virtual desktop, and so is what it has opened.
    if (const auto x11 = X11Window::of(*window.windowHandle()))
        x11->standOnAllDesktops();
    window.show();
    takeKeyboard();
}

void DockStand::takeKeyboard()
{
    if (!m_window)
        return;
    const auto x11 = X11Window::of(*m_window->windowHandle());
    // The user has asked for the window by a press on another window or by a key of the desktop's: of these, the toolkit
    // does not know, so its own request for the focus may be refused.
    if (x11 && x11->isManaged()) {
        x11->askForFocus(0);
        x11->flush();
    } else {
        m_window->activateWindow();
    }
}

void DockStand::open(QWidget& window)
{
    m_window = &window;
    window.installEventFilter(this);
    window.setWindowFlags(Qt::Tool | Qt::FramelessWindowHint | Qt::WindowStaysOnTopHint);
    window.winId();
    window.windowHandle()->installEventFilter(this);
    // The toolkit sets the window type only for a window that exists already.
    window.setAttribute(Qt::WA_X11NetWmWindowTypeDropDownMenu);
    m_presses = std::make_unique<X11Presses>();
    connect(m_presses.get(), &X11Presses::pressed, this, &DockStand::judge);
}

void DockStand::hide()
{
    if (m_window) {
        m_window->removeEventFilter(this);
        m_window->windowHandle()->removeEventFilter(this);
        m_window->hide();
    }
    m_window.clear();
    m_presses.reset();
    m_isPinned = false;
}

/// Where the window really is, without its shadow.
QRect DockStand::body() const
{
    return m_window->geometry().marginsRemoved(m_window->contentsMargins());
}

/// Decides whether a press is one elsewhere.
void DockStand::judge(QPoint place, Qt::MouseButton button)
{
    if (m_isPinned || !m_window)
        return;
    // A press on an item is a click soon, or the begin of a drag: the strip tells.
    if (!isWithoutStrip() && m_strip.isVisible() && button == Qt::LeftButton
        && m_strip.item(place - m_ground.topLeft()))
        return;
    if (!body().contains(place))
        Q_EMIT dismissed();
}

bool DockStand::eventFilter(QObject* watched, QEvent* event)
{
    if (watched != m_window) {
        if (event->type() == QEvent::Expose)
            correctPlace();
        return QObject::eventFilter(watched, event);
    }
    if (event->type() == QEvent::WindowActivate)
        m_pointer = QCursor::pos();
    // Not from within the event: another window of ours may be about to get the focus.
    else if (event->type() == QEvent::WindowDeactivate)
        QMetaObject::invokeMethod(this, &DockStand::judgeFocus, Qt::QueuedConnection);
    return QObject::eventFilter(watched, event);
}

/// As a window is shown, the toolkit asks the server where it is. If a window manager has put it into a frame by then, but has
/// not moved the frame yet, the answer is the screen's corner, and nothing corrects it later: tips and what assistive programs
/// are told would be there. The widget's own place may be an older one: it is told of each place in turn. So the place that was
/// asked for last is asked for again.
void DockStand::correctPlace()
{
    QWindow& window = *m_window->windowHandle();
    const QPoint place = m_place.marginsAdded(m_window->contentsMargins()).topLeft();
    if (window.position() != place)
        window.setPosition(place);
}

/// Decides whether the loss of the focus is the user's turn to another program.
void DockStand::judgeFocus()
{
    if (m_isPinned || !m_window || m_window->isActiveWindow())
        return;
    const auto x11 = X11Window::of(*m_window->windowHandle());
    if (!x11 || !x11->isOtherFocused())
        return;
    const QPoint pointer = QCursor::pos();
    if (pointer == m_pointer || body().contains(pointer) || m_ground.contains(pointer))
        Q_EMIT dismissed();
}

} // namespace kestrum
