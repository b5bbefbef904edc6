// SPDX-License-Identifier: MIT
#include "KestrumAgent/Panel/LayerChannel.h"

#include "KestrumAgent/Panel/PanelStrip.h"

#include <QGuiApplication>
#include <QPointer>
#include <QScreen>
#include <QToolTip>
#include <algorithm>
#include <chrono>

namespace kestrum {

namespace {

constexpr std::chrono::milliseconds delayAfterClosed { 250 };
constexpr int tipDistance = 4;

Qt::Edge trailingEdge()
{
    return QGuiApplication::layoutDirection() == Qt::RightToLeft ? Qt::LeftEdge : Qt::RightEdge;
}

} // namespace

LayerChannel::LayerChannel(PanelStrip& strip, QMenu& menu, const QScreen* screen)
    : m_strip(strip)
    , m_menu(menu)
    , m_ownScreen(screen)
    , m_surface(m_row)
    , m_tipSurface(m_tip)
    , m_sheetSurface(m_sheet)
    , m_popoverStand(strip)
{
    m_again.setSingleShot(true);
    m_again.setInterval(delayAfterClosed);
    connect(&m_again, &QTimer::timeout, this, &LayerChannel::fit);
    connect(&m_surface, &LayerSurface::closed, &m_again, qOverload<>(&QTimer::start));
    connect(qGuiApp, &QGuiApplication::screenAdded, &m_again, qOverload<>(&QTimer::start));
    connect(qGuiApp, &QGuiApplication::primaryScreenChanged, &m_again, qOverload<>(&QTimer::start));
    // When a screen is removed, some desktops, such as sway 1.10, do not close its surfaces. They also do not show these
    // surfaces when a screen is added.
    connect(qGuiApp, &QGuiApplication::screenRemoved, this, [this](const QScreen* gone) {
        if (m_strip.screen() != gone)
            return;
        Q_EMIT m_popoverStand.dismissed();
        m_surface.hide();
        m_again.start();
    });

    m_row.setWindowTitle(m_strip.windowTitle());
    m_row.setAttribute(Qt::WA_TranslucentBackground);
    m_strip.setAttribute(Qt::WA_TranslucentBackground);
    m_strip.setParent(&m_row);
    m_sheet.setAttribute(Qt::WA_TranslucentBackground);
    m_tip.setPalette(QToolTip::palette());
    m_tip.setBackgroundRole(QPalette::ToolTipBase);
    m_tip.setForegroundRole(QPalette::ToolTipText);
    m_tip.setAutoFillBackground(true);
    m_tip.setFrameShape(QFrame::Box);
    m_tip.setMargin(2);
    m_sheet.installEventFilter(this);
    m_row.installEventFilter(this);

    connect(&m_strip, &PanelStrip::rebuilt, this, &LayerChannel::fit);
    connect(&m_strip, &PanelStrip::menuRequested, this, &LayerChannel::showMenu);
    connect(&m_strip, &PanelStrip::tipRequested, this,
        [this](QPoint, const QString& text, const QRect& item) { showTip(text, item); });
    connect(&m_strip, &PanelStrip::pointerLeft, &m_tipSurface, &LayerSurface::hide);
    connect(&m_sheetSurface, &LayerSurface::keyboardLost, &m_sheetSurface, &LayerSurface::hide,
        Qt::QueuedConnection);
    fit();
}

LayerChannel::~LayerChannel()
{
    m_surface.hide(); // before the window that it belongs to
    m_strip.leaveScreen();
}

/// Null while the desktop has no screen: then Qt provides a placeholder that has no name.
const QScreen* LayerChannel::screen() const
{
    const QScreen* screen = m_ownScreen ? m_ownScreen : QGuiApplication::primaryScreen();
    return screen && !screen->name().isEmpty() ? screen : nullptr;
}

void LayerChannel::fit()
{
    if (m_strip.isEmpty()) {
        m_surface.hide();
        m_tipSurface.hide();
        m_sheetSurface.hide();
        return;
    }
    const QScreen* screen = this->screen();
    if (!screen)
        return;
    const QSize size = m_strip.sizeHint();
    // A surface at a corner cannot reserve room, so this one reaches from one side to the other, and the compositor chooses its
    // width. It has no margins: where the screen becomes narrower than these, sway 1.7 ends, and the session with it.
    // Compositors arrange the layers from above. In a higher one, the strip would push the desktop's panel away from the edge.
    m_surface.show({ .layer = LayerSurface::Layer::bottom,
                       .edges = Qt::TopEdge | Qt::LeftEdge | Qt::RightEdge,
                       .margins = {},
                       .screen = screen,
                       .reserved = size.height() },
        QSize(0, size.height()));
    m_strip.resize(size);
    placeStrip();
    m_strip.show();
}

/// Puts the strip at the trailing end of the row. The rest of the row lets presses through.
void LayerChannel::placeStrip()
{
    m_strip.move(trailingEdge() == Qt::RightEdge ? m_row.width() - m_strip.width() : 0, 0);
    m_row.setMask(m_strip.geometry());
}

void LayerChannel::showTip(const QString& text, const QRect& item)
{
    m_tipSurface.hide();
    if (text.isEmpty())
        return;
    m_tip.setText(text);
    // The margins place the tip below the item, at the same distance from the trailing edge as the item. They count from the
    // strip's lower end, because the strip's room is reserved.
    const QMargins margins(item.left(), tipDistance, m_strip.width() - item.right() - 1, 0);
    m_tipSurface.show({ .layer = LayerSurface::Layer::overlay,
                          .edges = Qt::TopEdge | trailingEdge(),
                          .margins = margins,
                          .screen = m_strip.screen() },
        m_tip.sizeHint());
}

void LayerChannel::showMenu(QPoint at)
{
    m_tipSurface.hide();
    m_sheetSurface.hide();
    Q_EMIT m_menu.aboutToShow();
    // Another menu with the same entries is shown in the sheet, as a child widget instead of a window.
    m_onSheet = std::make_unique<QMenu>(&m_sheet);
    m_onSheet->setWindowFlags(Qt::Widget);
    m_onSheet->addActions(m_menu.actions());
    m_menuPlace = QPoint(at.x(), 0); // the sheet begins below the strip
    // A menu also hides with the sheet, and by then another one may be open.
    connect(
        m_onSheet.get(), &QMenu::aboutToHide, this,
        [this, shown = QPointer(m_onSheet.get())] {
            if (shown && shown == m_onSheet.get())
                m_sheetSurface.hide();
        },
        Qt::QueuedConnection);
    constexpr Qt::Edges allEdges = Qt::TopEdge | Qt::BottomEdge | Qt::LeftEdge | Qt::RightEdge;
    m_sheetSurface.show(
        { LayerSurface::Layer::overlay, allEdges, {}, LayerSurface::Keyboard::exclusive, m_strip.screen() },
        QSize(0, 0));
}

/// Places and shows the menu. Must be called after the sheet has its size, which is needed to find the strip's position.
void LayerChannel::placeMenu()
{
    const QSize size = m_onSheet->sizeHint();
    const int stripLeft = trailingEdge() == Qt::RightEdge ? m_sheet.width() - m_strip.width() : 0;
    const QPoint farthest(m_sheet.width() - size.width(), m_sheet.height() - size.height());
    // The menu opens in the reading direction.
    const int leftwards = m_onSheet->isRightToLeft() ? size.width() - 1 : 0;
    const QPoint wanted = m_menuPlace + QPoint(stripLeft - leftwards, 0);
    m_onSheet->setGeometry(QRect(QPoint(std::max(0, std::min(wanted.x(), farthest.x())),
                                     std::max(0, std::min(wanted.y(), farthest.y()))),
        size));
    m_onSheet->show();
    m_onSheet->setFocus(Qt::PopupFocusReason);
}

bool LayerChannel::eventFilter(QObject* watched, QEvent* event)
{
    if (watched == &m_row && event->type() == QEvent::Resize)
        placeStrip();
    if (watched == &m_sheet && m_onSheet) {
        if (event->type() == QEvent::Resize && m_sheetSurface.isConfigured())
            placeMenu();
        else if (event->type() == QEvent::MouseButtonPress)
            m_sheetSurface.hide();
    }
    return QObject::eventFilter(watched, event);
}

} // namespace kestrum
