#include "KestrumAgent/Panel/PanelStrip.h"

#include "KestrumShared/Items/ItemText.h"
#include "KestrumAgent/Panel/PanelStripAccessible.h"
#include "KestrumShared/Items/StripBackground.h"
#include "KestrumShared/Settings/MeterSettings.h"
#include "KestrumShared/Settings/SharedSettings.h"

#include <QContextMenuEvent>
#include <QHelpEvent>
#include <QMouseEvent>
#include <QPaintEvent>
#include <QPainter>
#include <QStringList>
#include <cmath>

namespace kestrum {

namespace {

/// What an item may draw beyond its frame's right edge.
constexpr double spareWidth = 2;

} // namespace

PanelStrip::PanelStrip(std::shared_ptr<const MenuBarReadings> readings, QWidget* parent)
    : QWidget(parent)
    , m_readings(std::move(readings))
{
    setObjectName(QStringLiteral("panelStrip"));
    setWindowTitle(QStringLiteral("Kestrum"));
    setMouseTracking(true);
    setFocusPolicy(Qt::NoFocus);
    // The window that it is has never the keyboard.
    setAttribute(Qt::WA_AlwaysShowToolTips);
    PanelStripAccessible::install();
    connect(&SystemAppearance::shared(), &SystemAppearance::changed, this, [this] {
        redraw();
        update();
    });
    rebuild();
}

void PanelStrip::rebuild()
{
    const QList<MonitorSection> before = m_items.sections();
    const QSizeF sizeBefore = m_items.size();
    m_items.rebuild(MeterSettings::storedOrder(), m_readings);
    if (m_items.sections() != before || m_items.size() != sizeBefore)
        update();
    redraw();
    Q_EMIT rebuilt();
}

void PanelStrip::redraw()
{
    Q_EMIT redrawn();
    if (!isVisible())
        return;
    QRegion changed;
    for (const Item& item : m_items.list()) {
        QImage now = picture(item);
        QImage& kept = m_pictures[size_t(item.section)];
        if (now == kept && now.devicePixelRatio() == kept.devicePixelRatio())
            continue;
        kept = std::move(now);
        changed += place(item).toAlignedRect().marginsAdded({ 1, 0, int(spareWidth) + 1, 0 });
    }
    // At once, and not by `update`: that would wake the process a second time for each sample.
    if (!changed.isEmpty())
        repaint(changed);
}

QImage PanelStrip::picture(const Item& item) const
{
    const double scale = devicePixelRatioF();
    const QSizeF size = item.view->frame().size() + QSizeF(spareWidth, 0);
    QImage image(int(std::ceil(size.width() * scale)), int(std::ceil(size.height() * scale)),
        QImage::Format_ARGB32_Premultiplied);
    image.setDevicePixelRatio(scale);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    item.view->draw(painter, QPointF(0, 0), SystemAppearance::shared().scheme(), scale);
    return image;
}

QSize PanelStrip::sizeHint() const
{
    if (isEmpty())
        return { 0, 0 };
    const QSizeF items = m_items.size();
    return { int(std::ceil(items.width())) + 2 * sideRoom, int(items.height()) };
}

QRectF PanelStrip::place(const Item& item) const
{
    return item.view->frame().translated(sideRoom, 0);
}

QPointF PanelStrip::stripPoint(const QPointF& widgetPoint) const
{
    return { widgetPoint.x() - sideRoom, StatusMetricView::height - widgetPoint.y() };
}

QString PanelStrip::text(MonitorSection section) const
{
    return itemText(section, *m_readings);
}

QString PanelStrip::summary() const
{
    QStringList lines;
    for (const Item& item : m_items.list())
        lines.append(text(item.section));
    return lines.join(u'\n');
}

void PanelStrip::setHovered(std::optional<MonitorSection> section)
{
    setCursor(m_items.dragged() ? Qt::ClosedHandCursor : section ? Qt::OpenHandCursor : Qt::ArrowCursor);
    if (section == m_hovered)
        return;
    m_hovered = section;
    update();
}

void PanelStrip::mouseMoveEvent(QMouseEvent* event)
{
    const QPointF point = stripPoint(event->position());
    if (m_items.dragged()) {
        m_items.drag(point.x());
        update();
        return;
    }
    const Item* under = m_items.item(point);
    setHovered(under ? std::optional(under->section) : std::nullopt);
}

void PanelStrip::mousePressEvent(QMouseEvent* event)
{
    Q_EMIT pointerLeft();
    const QPointF point = stripPoint(event->position());
    const Item* grabbed
        = event->button() == Qt::LeftButton && !m_items.dragged() ? m_items.item(point) : nullptr;
    if (!grabbed)
        return;
    m_items.grab(*grabbed, point.x());
    setHovered(grabbed->section);
}

void PanelStrip::mouseReleaseEvent(QMouseEvent* event)
{
    if (!m_items.dragged() || event->button() != Qt::LeftButton)
        return;
    m_items.drop();
    setCursor(Qt::OpenHandCursor);
    MeterSettings::setMenuBarOrder(m_items.sections());
    SharedSettings::post(SharedSettings::Signal::menuBarChanged);
    // Back to the grid; where the save failed, to the stored order.
    rebuild();
    update();
}

void PanelStrip::mouseDoubleClickEvent(QMouseEvent* event)
{
    if (event->button() == Qt::LeftButton)
        Q_EMIT settingsRequested();
}

void PanelStrip::contextMenuEvent(QContextMenuEvent* event)
{
    if (!m_items.dragged())
        Q_EMIT menuRequested(QPoint(event->pos().x(), height()));
}

void PanelStrip::leaveEvent(QEvent*)
{
    Q_EMIT pointerLeft();
    if (!m_items.dragged())
        setHovered(std::nullopt);
}

void PanelStrip::showEvent(QShowEvent*)
{
    redraw();
}

bool PanelStrip::event(QEvent* event)
{
    if (event->type() != QEvent::ToolTip)
        return QWidget::event(event);
    const QPoint at = static_cast<QHelpEvent*>(event)->pos();
    const Item* under = m_items.dragged() ? nullptr : m_items.item(stripPoint(at));
    Q_EMIT tipRequested(
        at, under ? text(under->section) : QString(), under ? place(*under).toAlignedRect() : QRect());
    return true;
}

void PanelStrip::paintEvent(QPaintEvent* event)
{
    QPainter painter(this);
    const ColourScheme scheme = SystemAppearance::shared().scheme();
    const QTransform device = painter.deviceTransform();
    if (testAttribute(Qt::WA_TranslucentBackground)) {
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setPen(Qt::NoPen);
        painter.setBrush(StripBackground::plate(scheme));
        painter.drawRoundedRect(rect(), plateRadius, plateRadius);
        painter.setRenderHint(QPainter::Antialiasing, false);
    } else {
        painter.fillRect(event->rect(), StripBackground::plate(scheme));
    }

    const std::optional<MonitorSection> dragged = m_items.dragged();
    if (const Item* item = m_hovered ? m_items.item(*m_hovered) : nullptr)
        StripBackground::drawBackdrop(painter, StripItems::ground(*item).translated(sideRoom, 0), scheme);

    const auto draw = [&](const Item& item) {
        QImage& kept = m_pictures[size_t(item.section)];
        // The strip has come to a screen of another scale.
        if (kept.devicePixelRatio() != devicePixelRatioF())
            kept = picture(item);
        const QRectF frame = place(item);
        painter.drawImage(QPointF(StripBackground::onPixel(frame.left(), device), frame.top()), kept);
    };
    for (const Item& item : m_items.list()) {
        if (item.section != dragged)
            draw(item);
    }
    // Above its neighbours while it moves.
    if (const Item* item = dragged ? m_items.item(*dragged) : nullptr)
        draw(*item);
}

} // namespace kestrum
