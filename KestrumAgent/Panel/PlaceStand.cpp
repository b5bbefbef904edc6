// SPDX-License-Identifier: MIT
#include "KestrumAgent/Panel/PlaceStand.h"

#include <QCursor>
#include <QGuiApplication>
#include <QScreen>

namespace kestrum {

bool PlaceStand::isPossible()
{
    return !QGuiApplication::platformName().startsWith(QLatin1StringView("wayland"));
}

QRect PlaceStand::onScreen(const QRect& place, const QScreen& screen)
{
    // A screen's own corner is the same in both units.
    const QRect whole = screen.geometry();
    const double ratio = screen.devicePixelRatio();
    const QRect part = place & QRect(whole.topLeft(), (QSizeF(whole.size()) * ratio).toSize());
    if (place.isEmpty() || part.isEmpty())
        return {};
    const QRectF scaled(QPointF(part.topLeft() - whole.topLeft()) / ratio, QSizeF(part.size()) / ratio);
    return scaled.toAlignedRect().translated(whole.topLeft());
}

QRect PlaceStand::ground(const QRect& place, const QRect& free)
{
    QRect ground = place;
    if (ground.top() > free.bottom())
        ground.setTop(free.bottom() + 1);
    else if (ground.bottom() < free.top())
        ground.setBottom(free.top() - 1);
    return ground;
}

void PlaceStand::setPlace(const QRect& place)
{
    m_wanted = place;
    if (isShown())
        findGround();
}

void PlaceStand::findGround()
{
    m_screen.clear();
    for (const QScreen* screen : QGuiApplication::screens()) {
        m_found = onScreen(m_wanted, *screen);
        if (m_found.isEmpty())
            continue;
        m_screen = screen;
        break;
    }
    if (!m_screen) {
        m_found = QRect(QCursor::pos(), QSize(1, 1));
        m_screen = QGuiApplication::screenAt(m_found.topLeft());
    }
    if (!m_screen)
        m_screen = QGuiApplication::primaryScreen();
    if (!m_struts) {
        m_struts = std::make_unique<X11Struts>();
        connect(m_struts.get(), &X11Struts::changed, this, &PlaceStand::adoptRoom, Qt::QueuedConnection);
    }
    adoptRoom();
}

void PlaceStand::adoptRoom()
{
    if (!m_screen || !m_struts)
        return;
    const QRect free = m_struts->available(*m_screen);
    setGround(ground(m_found, free), free);
}

void PlaceStand::show(QWidget& window, QSize size, const QRect&)
{
    DockStand::show(window, size, QRect(QPoint(), groundSize()));
}

void PlaceStand::hide()
{
    DockStand::hide();
    m_struts.reset();
    m_wanted = {};
}

} // namespace kestrum
