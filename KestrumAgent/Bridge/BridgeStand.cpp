// SPDX-License-Identifier: MIT
#include "KestrumAgent/Bridge/BridgeStand.h"

#include <QCoreApplication>
#include <QKeyEvent>
#include <QKeySequence>
#include <QMouseEvent>
#include <QPainter>
#include <QWheelEvent>
#include <cmath>
#include <cstring>
#include <utility>

namespace kestrum {

namespace {

constexpr int bandGap = 8;              ///< so few equal rows do not end a band
constexpr double greatestNotches = 100; ///< a sane limit for one event
constexpr int stepsPerNotch = 120;      ///< the toolkit's unit of a wheel

} // namespace

BridgeStand::BridgeStand() = default;

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
    Change change { m_window->layout().text(), {}, now.size(), bands(now, m_picture) };
    if (const PanelElement* focused = m_window->layout().element(m_window->focus().path()))
        change.focus = focused->name;
    if (change.bands.isEmpty() && change.text == m_text && change.focus == m_focus)
        return;
    m_picture = std::move(now);
    m_text = change.text;
    m_focus = change.focus;
    Q_EMIT changed(change);
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

void BridgeStand::point(const QString& kind, const QPointF& at, double notches)
{
    if (!m_window || !std::isfinite(at.x()) || !std::isfinite(at.y()))
        return;
    if (kind == QLatin1StringView("leave")) {
        QEvent event(QEvent::Leave);
        send(event);
    } else if (kind == QLatin1StringView("scroll")) {
        if (!std::isfinite(notches))
            return;
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
    // As the toolkit names what a keyboard sends.
    const bool isBackwards = keys[0] == QKeyCombination(Qt::ShiftModifier, Qt::Key_Tab);
    QKeyEvent event(
        QEvent::KeyPress, isBackwards ? Qt::Key_Backtab : keys[0].key(), keys[0].keyboardModifiers());
    send(event);
}

} // namespace kestrum
