// SPDX-License-Identifier: MIT
#include "KestrumAgent/Bridge/BridgeStand.h"

#include "KestrumShared/Items/StripBackground.h"
#include "KestrumShared/Raster/LabelColour.h"

#include <QCoreApplication>
#include <QKeyEvent>
#include <QKeySequence>
#include <QMouseEvent>
#include <QPainter>
#include <QStyle>
#include <QToolTip>
#include <QWheelEvent>
#include <algorithm>
#include <cmath>
#include <cstring>
#include <utility>

namespace kestrum {

namespace {

constexpr int bandGap = 8;              ///< so few equal rows do not end a band
constexpr double greatestNotches = 100; ///< a sane limit for one event
constexpr int tipMargin = 6;            ///< points between a tip and the picture's edges
constexpr int tipPadding = 5;           ///< points
constexpr int tipRadius = 5;            ///< points
constexpr float tipEdge = 0.25F;        ///< how opaque a tip's edge is
constexpr int pointerHeight = 20;       ///< points, so that the pointer does not cover a tip
constexpr int stepsPerNotch = 120;      ///< the toolkit's unit of a wheel

} // namespace

BridgeStand::BridgeStand()
{
    m_tipWait.setSingleShot(true);
    // The toolkit asks for tips only in windows that the display's own pointer is in.
    connect(&m_tipWait, &QTimer::timeout, this, [this] {
        QHelpEvent event(QEvent::ToolTip, m_pointed, m_pointed);
        if (m_window)
            QCoreApplication::sendEvent(m_window, &event);
    });
}

void BridgeStand::setLook(const PanelLook& look)
{
    if (look == std::exchange(m_look, look))
        return;
    Q_EMIT roomChanged();
}

void BridgeStand::show(QWidget& window, QSize size, const QRect&)
{
    if (m_window != &window) {
        m_window = qobject_cast<PopoverWindow*>(&window);
        m_picture = {};
        // The corners stay clear in the picture.
        window.setAttribute(Qt::WA_TranslucentBackground);
    }
    window.setFixedSize(size);
    render();
}

void BridgeStand::hide()
{
    if (!m_window)
        return;
    m_window.clear();
    hideTip();
    m_picture = {};
    m_text.clear();
    m_focus.clear();
    Q_EMIT hidden();
}

/// Paints the window, and tells what has changed, if anything.
void BridgeStand::render()
{
    if (!m_window)
        return;
    const double scale = m_look.scale;
    QImage now((QSizeF(m_window->size()) * scale).toSize(), QImage::Format_ARGB32_Premultiplied);
    now.setDevicePixelRatio(scale);
    now.fill(Qt::transparent);
    m_window->render(&now, QPoint(), QRegion(), QWidget::RenderFlags());
    renderTip(now);
    Change change { m_window->layout().text(), {}, now.size(), bands(now, m_picture) };
    if (const PanelElement* focused = m_window->layout().element(m_window->focus().shownPath()))
        change.focus = focused->name;
    if (change.bands.isEmpty() && change.text == m_text && change.focus == m_focus)
        return;
    m_picture = std::move(now);
    m_text = change.text;
    m_focus = change.focus;
    Q_EMIT changed(change);
}

/// As a window of the toolkit's would be, but with the popover's colours: the desktop's own tips have others anyway.
void BridgeStand::renderTip(QImage& picture) const
{
    if (m_tipArea.isEmpty())
        return;
    QPainter painter(&picture);
    painter.setRenderHint(QPainter::Antialiasing);
    painter.setFont(QToolTip::font());
    const auto within = [](const QRectF& rect, double by) { return rect.adjusted(by, by, -by, -by); };
    const QRectF room = within(m_window->rect(), tipMargin);
    QRectF box = within(painter.boundingRect(within(room, tipPadding), Qt::TextWordWrap, m_tip), -tipPadding);
    const double below = m_pointed.y() + pointerHeight;
    box.moveLeft(std::max(room.left(), std::min(double(m_pointed.x()), room.right() - box.width())));
    box.moveTop(below + box.height() <= room.bottom()
            ? below
            : std::max(room.top(), m_pointed.y() - tipMargin - box.height()));
    const ColourScheme scheme = m_window->scheme();
    QColor edge = labelColour(scheme);
    edge.setAlphaF(tipEdge);
    painter.setPen(edge);
    painter.setBrush(StripBackground::plate(scheme));
    painter.drawRoundedRect(within(box.toAlignedRect(), 0.5), tipRadius, tipRadius);
    painter.setPen(labelColour(scheme));
    painter.drawText(within(box, tipPadding), Qt::TextWordWrap, m_tip);
}

void BridgeStand::showTip(QWidget&, QPoint at, const QString& text, const QRect& area)
{
    m_tip = text;
    m_pointed = at;
    m_tipArea = text.isEmpty() ? QRect() : area;
    render();
}

/// A tip stays while the pointer is at what it explains, and the next one comes where the pointer rests.
void BridgeStand::followTip(QPoint at)
{
    if (m_tipArea.contains(at))
        return;
    hideTip();
    m_pointed = at;
    m_tipWait.start(m_window->style()->styleHint(QStyle::SH_ToolTip_WakeUpDelay));
}

void BridgeStand::hideTip()
{
    m_tipArea = {};
    m_tipWait.stop();
}

QList<PanelBand> BridgeStand::bands(const QImage& now, const QImage& before)
{
    QList<PanelBand> list;
    const auto add = [&](int top, int end) {
        const QImage piece
            = now.copy(0, top, now.width(), end - top).convertToFormat(QImage::Format_RGBA8888_Premultiplied);
        // Rows have no gaps: their length is a multiple of four bytes.
        list.append({ top, end - top,
            QByteArray(reinterpret_cast<const char*>(piece.constBits()), piece.sizeInBytes()) });
    };
    if (now.size() != before.size()) {
        if (!now.isNull())
            add(0, now.height());
        return list;
    }
    int begin = -1;
    int end = 0;
    for (int row = 0; row < now.height(); ++row) {
        if (std::memcmp(now.constScanLine(row), before.constScanLine(row), size_t(now.width()) * 4) == 0)
            continue;
        if (begin >= 0 && row - end > bandGap) {
            add(begin, end);
            begin = row;
        } else if (begin < 0) {
            begin = row;
        }
        end = row + 1;
    }
    if (begin >= 0)
        add(begin, end);
    return list;
}

void BridgeStand::send(QEvent& event)
{
    QCoreApplication::sendEvent(m_window, &event);
    render();
}

void BridgeStand::point(const QString& kind, const QPointF& told, double notches)
{
    if (!m_window || !std::isfinite(told.x()) || !std::isfinite(told.y()))
        return;
    // How far outside is of no interest, and may be farther than whole numbers reach.
    const QPointF at(std::clamp(told.x(), -1.0, m_window->width() + 1.0),
        std::clamp(told.y(), -1.0, m_window->height() + 1.0));
    if (kind == QLatin1StringView("leave")) {
        hideTip();
        QEvent event(QEvent::Leave);
        send(event);
    } else if (kind == QLatin1StringView("scroll")) {
        if (!std::isfinite(notches))
            return;
        hideTip();
        const int steps = int(std::clamp(notches, -greatestNotches, greatestNotches) * stepsPerNotch);
        QWheelEvent event(
            at, at, QPoint(), QPoint(0, steps), Qt::NoButton, Qt::NoModifier, Qt::NoScrollPhase, false);
        send(event);
    } else {
        const auto type = kind == QLatin1StringView("press") ? QEvent::MouseButtonPress
            : kind == QLatin1StringView("release")           ? QEvent::MouseButtonRelease
            : kind == QLatin1StringView("move")              ? QEvent::MouseMove
                                                             : QEvent::None;
        if (type == QEvent::None)
            return;
        if (type == QEvent::MouseMove)
            followTip(at.toPoint());
        else
            hideTip();
        const Qt::MouseButton button = type == QEvent::MouseMove ? Qt::NoButton : Qt::LeftButton;
        const Qt::MouseButtons held = type == QEvent::MouseButtonPress ? Qt::LeftButton : Qt::NoButton;
        QMouseEvent event(type, at, at, button, held, Qt::NoModifier);
        send(event);
    }
}

void BridgeStand::pressKey(const QString& name)
{
    const QKeySequence keys = QKeySequence::fromString(name, QKeySequence::PortableText);
    if (!m_window || keys.count() != 1 || keys[0].key() == Qt::Key_unknown)
        return;
    hideTip();
    // As the toolkit names what a keyboard sends.
    const bool isBackwards = keys[0] == QKeyCombination(Qt::ShiftModifier, Qt::Key_Tab);
    QKeyEvent event(
        QEvent::KeyPress, isBackwards ? Qt::Key_Backtab : keys[0].key(), keys[0].keyboardModifiers());
    send(event);
}

} // namespace kestrum
