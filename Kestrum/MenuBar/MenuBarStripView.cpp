#include "Kestrum/MenuBar/MenuBarStripView.h"

#include "Kestrum/Form/Theme.h"
#include "Kestrum/MenuBar/MenuBarStripAccessible.h"
#include "KestrumShared/Items/StripBackground.h"
#include "KestrumShared/Settings/MeterSettings.h"
#include "KestrumShared/Text/AppLanguage.h"

#include <QHelpEvent>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPaintEvent>
#include <QPainter>
#include <QToolTip>
#include <algorithm>
#include <cmath>

namespace kestrum {

namespace {

/// What a focus ring reaches beyond a backdrop, and a pixel that it may share.
constexpr QMargins ringMargins { 4, 4, 4, 4 };

} // namespace

MenuBarStripView::MenuBarStripView(QWidget* parent)
    : QWidget(parent)
    , m_readings(std::make_shared<SampleReadings>())
{
    // Before the name, which is told to assistive programs at once, by whatever speaks for the strip then.
    MenuBarStripAccessible::install();
    setMouseTracking(true);
    setFocusPolicy(Qt::StrongFocus);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    setAccessibleName(AppLanguage::string("Menu bar items"));
    connect(&m_slides, &ItemSlides::moved, this, qOverload<>(&QWidget::update));
    rebuild();
    connect(&SharedSettings::store(), &UserDefaults::changed, this, qOverload<>(&MenuBarStripView::rebuild));
    m_barListener.listen(SharedSettings::Signal::menuBarChanged, [this] { rebuild(); });
}

void MenuBarStripView::rebuild()
{
    rebuild(MeterSettings::storedOrder());
}

void MenuBarStripView::rebuild(const QList<MonitorSection>& order)
{
    m_items.rebuild(order, m_readings);
    tellScreenReader();
    updateGeometry();
    update();
    Q_EMIT rebuilt();
}

QSize MenuBarStripView::sizeHint() const
{
    const QSizeF content = intrinsicContentSize();
    return QSize(int(std::ceil(content.width())), int(content.height())) + 2 * room;
}

QString MenuBarStripView::readoutText(MonitorSection section) const
{
    return StatusMetricView::readoutText(section, *m_readings).value_or(QString());
}

QString MenuBarStripView::moveHint()
{
    return AppLanguage::string("Drag to move, or press Alt with an arrow key.");
}

QPointF MenuBarStripView::stripPoint(const QPointF& widgetPoint) const
{
    return { widgetPoint.x() - room.width(), room.height() + StatusMetricView::height - widgetPoint.y() };
}

QRectF MenuBarStripView::widgetRect(const QRectF& stripRect) const
{
    return { stripRect.left() + room.width(), room.height() + StatusMetricView::height - stripRect.bottom(),
        stripRect.width(), stripRect.height() };
}

QRectF MenuBarStripView::backdropRect(const Item& item) const
{
    return widgetRect(StripItems::ground(item)).translated(m_slides.offset(item.section), 0);
}

/// Where an item is drawn, in widget coordinates.
QRectF MenuBarStripView::shownFrame(const Item& item) const
{
    return widgetRect(item.view->frame()).translated(m_slides.offset(item.section), 0);
}

/// The left edges of all of these.
QHash<MonitorSection, double> MenuBarStripView::shownLefts() const
{
    QHash<MonitorSection, double> lefts;
    for (const Item& item : items())
        lefts.insert(item.section, shownFrame(item).left());
    return lefts;
}

/// Items that were drawn elsewhere slide from there to where they stand now; one that is being dragged does not.
void MenuBarStripView::slideFrom(const QHash<MonitorSection, double>& lefts)
{
    for (const Item& item : items()) {
        const double left = shownFrame(item).left();
        const double before = lefts.value(item.section, left);
        if (isVisible() && before != left && item.section != dragged())
            m_slides.begin(item.section, before - widgetRect(item.view->frame()).left());
    }
}

void MenuBarStripView::setHovered(std::optional<MonitorSection> section)
{
    if (section == m_hovered)
        return;
    redraw(m_hovered);
    m_hovered = section;
    redraw(m_hovered);
}

void MenuBarStripView::redraw(std::optional<MonitorSection> section)
{
    const Item* changed = section ? item(*section) : nullptr;
    if (changed)
        update(backdropRect(*changed).toAlignedRect().marginsAdded(ringMargins));
}

void MenuBarStripView::mouseMoveEvent(QMouseEvent* event)
{
    if (dragged()) {
        drag(event->position());
        return;
    }
    // A window in the background does not react to a pointer that passes over it.
    const Item* under = isActiveWindow() ? item(stripPoint(event->position())) : nullptr;
    setHovered(under ? std::optional(under->section) : std::nullopt);
    setCursor(under ? Qt::OpenHandCursor : Qt::ArrowCursor);
}

void MenuBarStripView::leaveEvent(QEvent*)
{
    if (dragged())
        return;
    setHovered(std::nullopt);
    setCursor(Qt::ArrowCursor);
}

bool MenuBarStripView::event(QEvent* event)
{
    if (event->type() == QEvent::WindowDeactivate && !dragged()) {
        setHovered(std::nullopt);
        setCursor(Qt::ArrowCursor);
    }
    if (event->type() == QEvent::ToolTip) {
        const auto* help = static_cast<QHelpEvent*>(event);
        const Item* under = dragged() ? nullptr : item(stripPoint(help->pos()));
        const QRect place = under ? backdropRect(*under).toAlignedRect() : QRect();
        QToolTip::showText(help->globalPos(), under ? moveHint() : QString(), this, place);
        return true;
    }
    return QWidget::event(event);
}

void MenuBarStripView::mousePressEvent(QMouseEvent* event)
{
    const QPointF point = stripPoint(event->position());
    const Item* grabbed = event->button() == Qt::LeftButton && !dragged() ? item(point) : nullptr;
    if (!grabbed)
        return;
    if (m_showsFocus) {
        m_showsFocus = false;
        redraw(focused());
    }
    m_slides.begin(grabbed->section, 0);
    m_items.grab(*grabbed, point.x());
    setHovered(grabbed->section);
    setCursor(Qt::ClosedHandCursor);
}

void MenuBarStripView::drag(const QPointF& widgetPoint)
{
    if (!dragged())
        return;
    const QHash<MonitorSection, double> before = shownLefts();
    redraw(dragged());
    m_items.drag(stripPoint(widgetPoint).x());
    redraw(dragged());
    slideFrom(before);
    Q_EMIT dragMoved(widgetPoint);
}

void MenuBarStripView::mouseReleaseEvent(QMouseEvent* event)
{
    if (!dragged() || event->button() != Qt::LeftButton)
        return;
    m_items.drop();
    setCursor(Qt::OpenHandCursor);
    store();
}

/// Makes the present order of the visible items the stored one. Where the save failed the stored order comes
/// back.
void MenuBarStripView::store()
{
    const QHash<MonitorSection, double> before = shownLefts();
    MeterSettings::setMenuBarOrder(m_items.sections());
    rebuild();
    slideFrom(before);
}

std::optional<MonitorSection> MenuBarStripView::focused() const
{
    if (items().isEmpty())
        return std::nullopt;
    return m_focused && item(*m_focused) ? *m_focused : items().first().section;
}

void MenuBarStripView::focusItem(int index)
{
    if (items().isEmpty())
        return;
    redraw(focused());
    m_focused = items()[std::clamp(index, 0, int(items().size()) - 1)].section;
    m_showsFocus = true;
    redraw(m_focused);
    Q_EMIT itemFocused(widgetRect(StripItems::ground(*item(*m_focused))));
    MenuBarStripAccessible::tellFocus(this);
}

void MenuBarStripView::moveFocusedItem(int step)
{
    const int from = m_items.index(*focused());
    const int to = from + step;
    if (to >= 0 && to < items().size()) {
        m_focused = items()[from].section;
        m_items.swap(from, to);
        store();
    }
    focusItem(m_items.index(*focused()));
}

void MenuBarStripView::keyPressEvent(QKeyEvent* event)
{
    const auto modifiers = event->modifiers() & ~Qt::KeypadModifier;
    const bool isSideways = event->key() == Qt::Key_Left || event->key() == Qt::Key_Right;
    if (!isSideways || items().isEmpty() || dragged()
        || (modifiers != Qt::NoModifier && modifiers != Qt::AltModifier)) {
        QWidget::keyPressEvent(event);
        return;
    }
    const int step = event->key() == Qt::Key_Left ? -1 : 1;
    if (modifiers == Qt::AltModifier)
        moveFocusedItem(step);
    else
        focusItem(m_items.index(*focused()) + step);
}

void MenuBarStripView::focusInEvent(QFocusEvent* event)
{
    const Qt::FocusReason reason = event->reason();
    if (reason == Qt::TabFocusReason || reason == Qt::BacktabFocusReason
        || reason == Qt::ShortcutFocusReason) {
        focusItem(focused() ? m_items.index(*focused()) : 0);
    } else if (reason == Qt::MouseFocusReason) {
        m_showsFocus = false;
    }
    update();
}

void MenuBarStripView::focusOutEvent(QFocusEvent*)
{
    update();
}

void MenuBarStripView::paintEvent(QPaintEvent* event)
{
    QPainter painter(this);
    const ColourScheme scheme = SystemAppearance::shared().scheme();
    const QTransform device = painter.deviceTransform();

    const auto draw = [&](const Item& item) {
        const QRectF frame = shownFrame(item);
        if (!event->region().intersects(frame.toAlignedRect().marginsAdded({ 1, 1, 1, 1 })))
            return;
        item.view->draw(painter, QPointF(StripBackground::onPixel(frame.left(), device), frame.top()), scheme,
            device.m11());
    };
    const Item* lifted = dragged() ? item(*dragged()) : nullptr;
    if (const Item* under = m_hovered && !dragged() ? item(*m_hovered) : nullptr)
        StripBackground::drawBackdrop(painter, backdropRect(*under), scheme);
    for (const Item& item : items()) {
        if (&item != lifted)
            draw(item);
    }
    // Above its neighbours while it moves.
    if (lifted) {
        StripBackground::drawLifted(painter, backdropRect(*lifted), scheme);
        draw(*lifted);
    }

    if (const auto marked = focused(); marked && hasFocus() && m_showsFocus) {
        constexpr double reach = Theme::focusRingGap + Theme::focusRingWidth / 2;
        const QRectF ring = StripBackground::onPixels(backdropRect(*item(*marked)), device)
                                .adjusted(-reach, -reach, reach, reach);
        painter.setRenderHint(QPainter::Antialiasing);
        painter.setBrush(Qt::NoBrush);
        painter.setPen(QPen(Theme::colour(Theme::Colour::focusRing, scheme), Theme::focusRingWidth));
        painter.drawRoundedRect(
            ring, StripBackground::backdropRadius + reach, StripBackground::backdropRadius + reach);
    }
}

void MenuBarStripView::tellScreenReader()
{
    QStringList texts;
    for (const Item& item : items()) {
        texts.append(
            (StatusMetricView::description(item.section) + u' ' + readoutText(item.section)).trimmed());
    }
    const QString description = texts.join(QStringLiteral(", "));
    if (description != accessibleDescription())
        setAccessibleDescription(description);
}

} // namespace kestrum
