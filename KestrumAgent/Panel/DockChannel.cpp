// SPDX-License-Identifier: MIT
#include "KestrumAgent/Panel/DockChannel.h"

#include "KestrumAgent/Panel/PanelStrip.h"
#include "Platform/Desktop/X11Window.h"

#include <QGuiApplication>
#include <QPainterPath>
#include <QScreen>
#include <QToolTip>
#include <QWindow>
#include <chrono>
#include <cmath>
#include <utility>

namespace kestrum {

namespace {

/// How long a window manager may take to show a window.
constexpr std::chrono::seconds timeToShow { 1 };
/// A desktop that has not shown the strip after so many seconds does not show it.
constexpr int mostLosses = 20;

double fraction(double number)
{
    return number - std::floor(number);
}

/// Returns `size`, one point wider if the width has half a pixel at the end. Qt rounds the position and the width of a
/// window separately. If both were rounded up from a half, the window would be one pixel too wide.
QSize withoutHalfPixels(QSize size, double scale)
{
    if (fraction(size.width() * scale) == 0.5)
        size.rwidth() += 1;
    return size;
}

/// The right edge of the part of `free` that is completely on the screen, in points. `free` itself may end with a point that
/// is only partly on the screen.
int endOnScreen(const QRect& free, const QScreen& screen)
{
    const int end = free.right() + 1;
    return fraction((end - screen.geometry().left()) * screen.devicePixelRatio()) > 0 ? end - 1 : end;
}

} // namespace

DockChannel::DockChannel(PanelStrip& strip, QMenu& menu, QScreen* screen)
    : m_strip(strip)
    , m_ownScreen(screen)
    , m_popoverStand(strip)
    , m_menuWindow(strip, menu)
{
    m_strip.setWindowFlags(Qt::Window | Qt::FramelessWindowHint | Qt::WindowDoesNotAcceptFocus);
    m_strip.setAttribute(Qt::WA_ShowWithoutActivating);
    m_strip.winId();
    // Qt sets the window type only for a window that exists already.
    m_strip.setAttribute(Qt::WA_X11NetWmWindowTypeDock);
    m_struts = std::make_unique<X11Struts>(*m_strip.windowHandle());
    connect(m_struts.get(), &X11Struts::changed, this, &DockChannel::fit);
    connect(&m_strip, &PanelStrip::rebuilt, this, &DockChannel::fit);
    connect(&m_strip, &PanelStrip::menuRequested, this, [this](QPoint at) { m_menuWindow.open(at.x()); });
    connect(
        &m_strip, &PanelStrip::tipRequested, this, [this](QPoint at, const QString& text, const QRect& item) {
            QToolTip::showText(m_place.topLeft() + at, text, &m_strip, item);
        });
    connect(&m_strip, &PanelStrip::pointerLeft, this, [] { QToolTip::hideText(); });
    if (!m_ownScreen)
        connect(qGuiApp, &QGuiApplication::primaryScreenChanged, this, &DockChannel::follow);
    m_check.setSingleShot(true);
    m_check.setInterval(timeToShow);
    connect(&m_check, &QTimer::timeout, this, &DockChannel::check);
    follow(this->screen());
}

DockChannel::~DockChannel()
{
    m_strip.leaveScreen();
}

QScreen* DockChannel::screen() const
{
    return m_ownScreen ? m_ownScreen : QGuiApplication::primaryScreen();
}

/// A window manager that is only starting loses requests to show a window.
void DockChannel::check()
{
    if (!m_strip.isVisible() || m_strip.windowHandle()->isExposed() || ++m_losses > mostLosses)
        return;
    m_strip.hide();
    fit();
}

void DockChannel::follow(QScreen* screen)
{
    disconnect(m_screenConnection);
    if (screen)
        m_screenConnection = connect(screen, &QScreen::availableGeometryChanged, this, &DockChannel::fit);
    fit();
}

void DockChannel::fit()
{
    const QScreen* screen = this->screen();
    if (m_strip.isEmpty() || !screen) {
        m_menuWindow.close();
        if (screen)
            m_struts->reserve(*screen, {});
        m_strip.hide();
        return;
    }
    const QSize size = withoutHalfPixels(m_strip.sizeHint(), screen->devicePixelRatio());
    const QRect free = m_struts->available(*screen);
    const bool isMirrored = QGuiApplication::layoutDirection() == Qt::RightToLeft;
    const int left = isMirrored ? free.left() : endOnScreen(free, *screen) - size.width();
    // By default, Qt sets size steps of one point, and the window manager rounds the window's size down to a step. Here, the
    // step is as large as the whole window, so nothing is rounded. The step must be set before the size, because the window
    // manager applies the step that it knows.
    m_strip.setSizeIncrement(size);
    m_strip.setFixedSize(size);
    m_strip.move(left, free.top());
    const QRect before = std::exchange(m_place, QRect(QPoint(left, free.top()), size));
    if (m_place != before)
        m_menuWindow.close(); // it does not move with the strip
    m_struts->reserve(*screen, m_place);
    m_popoverStand.setGround(m_place, free);
    m_menuWindow.setGround(m_place, free);
    // A mask makes the rounded corners, because translucency has no effect without a compositing manager.
    QPainterPath plate;
    plate.addRoundedRect(QRectF(QPointF(0, 0), size), PanelStrip::plateRadius, PanelStrip::plateRadius);
    m_strip.setMask(QRegion(plate.toFillPolygon().toPolygon()));
    if (m_strip.isVisible())
        return;
    // Not every window manager shows windows of the dock type on all desktops, so this is requested explicitly.
    if (const auto window = X11Window::of(*m_strip.windowHandle()))
        window->standOnAllDesktops();
    m_strip.show();
    m_check.start();
}

} // namespace kestrum
