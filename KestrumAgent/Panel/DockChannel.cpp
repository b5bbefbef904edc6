#include "KestrumAgent/Panel/DockChannel.h"

#include "KestrumAgent/Panel/PanelStrip.h"
#include "Platform/X11Window.h"

#include <QGuiApplication>
#include <QPainterPath>
#include <QScreen>
#include <QToolTip>
#include <QWindow>

namespace kestrum {

DockChannel::DockChannel(PanelStrip& strip, QMenu& menu)
    : m_strip(strip)
    , m_menu(menu)
{
    m_strip.setWindowFlags(Qt::Window | Qt::FramelessWindowHint | Qt::WindowDoesNotAcceptFocus);
    m_strip.setAttribute(Qt::WA_ShowWithoutActivating);
    m_strip.winId();
    // Qt hears of the type only when there is a window to give it to.
    m_strip.setAttribute(Qt::WA_X11NetWmWindowTypeDock);
    connect(&m_strip, &PanelStrip::rebuilt, this, &DockChannel::fit);
    connect(&m_strip, &PanelStrip::menuRequested, this, &DockChannel::showMenu);
    connect(
        &m_strip, &PanelStrip::tipRequested, this, [this](QPoint at, const QString& text, const QRect& item) {
            QToolTip::showText(m_strip.mapToGlobal(at), text, &m_strip, item);
        });
    connect(&m_strip, &PanelStrip::pointerLeft, this, [] { QToolTip::hideText(); });
    connect(qGuiApp, &QGuiApplication::primaryScreenChanged, this, &DockChannel::follow);
    follow(QGuiApplication::primaryScreen());
}

void DockChannel::showMenu(QPoint at)
{
    // It opens in the direction of reading. How wide it will be is known when it has its entries.
    Q_EMIT m_menu.aboutToShow();
    const int leftwards = m_menu.isRightToLeft() ? m_menu.sizeHint().width() - 1 : 0;
    m_menu.popup(m_strip.mapToGlobal(at) - QPoint(leftwards, 0));
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
    const QScreen* screen = QGuiApplication::primaryScreen();
    if (m_strip.isEmpty() || !screen) {
        m_strip.hide();
        return;
    }
    const QSize size = m_strip.sizeHint();
    const QRect free = screen->availableGeometry();
    const bool isMirrored = QGuiApplication::layoutDirection() == Qt::RightToLeft;
    const int left = isMirrored ? free.left() : free.right() + 1 - size.width();
    m_strip.setFixedSize(size);
    m_strip.move(left, free.top());
    // Cut to shape and not translucent: without a compositing manager nothing would shine through.
    QPainterPath plate;
    plate.addRoundedRect(QRectF(QPointF(0, 0), size), PanelStrip::plateRadius, PanelStrip::plateRadius);
    m_strip.setMask(QRegion(plate.toFillPolygon().toPolygon()));
    if (m_strip.isVisible())
        return;
    // Not every window manager takes it from the type.
    if (const auto window = X11Window::of(*m_strip.windowHandle()))
        window->standOnAllDesktops();
    m_strip.show();
}

} // namespace kestrum
