// SPDX-License-Identifier: MIT
#include "KestrumAgent/Panel/LayerStand.h"

#include "KestrumAgent/Panel/PanelStrip.h"

#include <QGuiApplication>
#include <QMouseEvent>
#include <QScreen>
#include <QWindow>
#include <algorithm>
#include <utility>

namespace kestrum {

LayerStand::LayerStand(PanelStrip& strip)
    : m_strip(strip)
{
    m_strip.installEventFilter(this);
}

/// The sheet begins below the strip, which gets its own presses. Those that are no click on an item are presses elsewhere.
bool LayerStand::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == m_window) {
        if (event->type() == QEvent::WindowActivate && std::exchange(m_isTaking, false))
            arrange();
        return QObject::eventFilter(watched, event);
    }
    if (event->type() == QEvent::MouseButtonPress && m_window && !m_isPinned) {
        const auto& press = *static_cast<QMouseEvent*>(event);
        if (press.button() != Qt::LeftButton || !m_strip.item(press.position()))
            QMetaObject::invokeMethod(this, &PopoverStand::dismissed, Qt::QueuedConnection);
    }
    return QObject::eventFilter(watched, event);
}

/// The size of the area that panels and the strip leave free: the sheet's, which only the compositor knows. Before the sheet
/// has been shown once, the screen's size without the strip. While there is no sheet, the screen may become smaller.
QSize LayerStand::freeSize() const
{
    const QSize screen = m_strip.screen()->size() - QSize(0, m_strip.height());
    return m_free.isEmpty() ? screen : m_free.boundedTo(screen);
}

int LayerStand::room() const
{
    return freeSize().height() - stripDistance - edgeDistance;
}

void LayerStand::show(QWidget& window, QSize size, const QRect& item)
{
    m_size = size;
    m_item = item;
    if (m_window != &window) {
        hide();
        m_window = &window;
        window.installEventFilter(this);
        spreadSheets();
        m_screenConnection
            = connect(m_strip.screen(), &QScreen::geometryChanged, this, &LayerStand::roomChanged);
        m_surface = std::make_unique<LayerSurface>(window);
        connect(m_surface.get(), &LayerSurface::closed, this, &LayerStand::dismissed, Qt::QueuedConnection);
        const auto dismissUnpinned = [this] {
            if (!m_isPinned)
                Q_EMIT dismissed();
        };
        connect(m_surface.get(), &LayerSurface::keyboardLost, this, dismissUnpinned, Qt::QueuedConnection);
    }
    arrange();
}

void LayerStand::spreadSheets()
{
    const auto spread = [this](const QScreen* screen) {
        auto sheet = std::make_unique<LayerSheet>(screen);
        connect(sheet.get(), &LayerSheet::pressed, this, &LayerStand::dismissed, Qt::QueuedConnection);
        return sheet;
    };
    m_sheet = spread(m_strip.screen());
    for (const QScreen* screen : QGuiApplication::screens()) {
        if (screen != m_strip.screen())
            m_furtherSheets.push_back(spread(screen));
    }
    connect(m_sheet.get(), &LayerSheet::resized, this, [this] {
        m_free = m_sheet->size();
        arrange();
        Q_EMIT roomChanged();
    });
}

void LayerStand::foldSheets()
{
    m_sheet.reset();
    m_furtherSheets.clear();
}

void LayerStand::arrange()
{
    if (!m_surface)
        return;
    const bool isMirrored = QGuiApplication::layoutDirection() == Qt::RightToLeft;
    const QSize free = freeSize();
    // The distances from the edge at which the strip stands. It is the item's distance from the strip's end, too.
    const int itemMiddle = m_item.center().x();
    // The strip's width is still the old one where it is told of its items only after this window.
    const int fromEdge = isMirrored ? itemMiddle : m_strip.sizeHint().width() - 1 - itemMiddle;
    const int farthest = std::max(edgeDistance, free.width() - edgeDistance - m_size.width());
    const int side = std::clamp(fromEdge - m_size.width() / 2, edgeDistance, farthest);
    const int top = stripDistance; // the free area begins below the strip
    const Qt::Edge edge = isMirrored ? Qt::LeftEdge : Qt::RightEdge;
    const QMargins shadow = m_window->contentsMargins();
    const QRect shown(QPoint(shadow.left(), shadow.top()), m_size);
    m_surface->show({ .layer = m_isPinned ? LayerSurface::Layer::panel : LayerSurface::Layer::overlay,
                        .edges = Qt::TopEdge | edge,
                        .margins = QMargins(isMirrored ? side - shadow.left() : 0, top - shadow.top(),
                            isMirrored ? 0 : side - shadow.right(), 0),
                        .keyboard = m_isPinned && !m_isTaking ? LayerSurface::Keyboard::onDemand
                                                              : LayerSurface::Keyboard::exclusive,
                        .screen = m_strip.screen() },
        shown.marginsAdded(shadow).size());
    // On Wayland, the mask has no effect but that presses beside it go to what is below.
    m_window->windowHandle()->setMask(shadow.isNull() ? QRegion() : QRegion(shown));
    if (!m_sheet)
        return;
    const auto atEdge = [&](int distance, int y, QSize size) {
        return QRect(QPoint(isMirrored ? distance : free.width() - distance - size.width(), y), size);
    };
    m_sheet->setHoles({ atEdge(side, top, m_size) });
}

void LayerStand::hide()
{
    disconnect(m_screenConnection);
    foldSheets();
    m_surface.reset();
    if (m_window)
        m_window->removeEventFilter(this);
    m_window.clear();
    m_isPinned = false;
    m_isTaking = false;
}

void LayerStand::takeKeyboard()
{
    // Without a pin, the window has the keyboard anyway.
    if (!m_isPinned || !m_window || m_window->isActiveWindow())
        return;
    m_isTaking = true;
    arrange();
}

void LayerStand::setPinned(bool isPinned)
{
    if (isPinned == m_isPinned)
        return;
    m_isPinned = isPinned;
    // The sheet lets presses on the window through, so it does not matter which of the two is above the other.
    if (isPinned)
        foldSheets();
    else if (m_window)
        spreadSheets();
    arrange();
}

} // namespace kestrum
