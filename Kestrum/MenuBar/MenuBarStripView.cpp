// SPDX-License-Identifier: MIT
#include "Kestrum/MenuBar/MenuBarStripView.h"

#include "Kestrum/Form/Theme.h"
#include "Kestrum/MenuBar/MenuBarStripAccessible.h"
#include "KestrumShared/Items/StripBackground.h"
#include "KestrumShared/Text/AppLanguage.h"

#include <QHelpEvent>
#include <QKeyEvent>
#include <QMouseEvent>
#include <QPaintEvent>
#include <QPainter>
#include <QToolTip>
#include <algorithm>

namespace kestrum {

namespace {

/// How far a focus ring reaches beyond a backdrop, plus one pixel that the ring may partly cover.
constexpr QMargins ringMargins { 4, 4, 4, 4 };

} // namespace

MenuBarStripView::MenuBarStripView(QWidget* parent)
    : QWidget(parent)
    , m_scene(std::make_shared<SampleReadings>(), room)
{
    // Install the interface before the name is set: a new name notifies assistive programs at once, by the present interface.
    MenuBarStripAccessible::install();
    setMouseTracking(true);
    setFocusPolicy(Qt::StrongFocus);
    setSizePolicy(QSizePolicy::Fixed, QSizePolicy::Fixed);
    setAccessibleName(AppLanguage::string("Menu bar items"));
    m_scene.setOffset([this](MonitorSection section) { return m_slides.offset(section); });
    connect(&m_scene, &StripScene::changed, this,
        [this](const QRectF& area) { update(area.toAlignedRect().marginsAdded(ringMargins)); });
    connect(&m_slides, &ItemSlides::moved, this, qOverload<>(&QWidget::update));
    rebuild();
    connect(&SharedSettings::store(), &UserDefaults::changed, this, qOverload<>(&MenuBarStripView::rebuild));
    m_barListener.listen(SharedSettings::Signal::menuBarChanged, [this] { rebuild(); });
}

void MenuBarStripView::rebuild()
{
    const Appearance appearance = Appearance::current();
    rebuild(MeterSettings::storedOrder(appearance.settings), appearance);
}

void MenuBarStripView::rebuild(const QList<MonitorSection>& order, const Appearance& appearance)
{
    m_scene.rebuild(order, appearance);
    describe(appearance);
    updateGeometry();
    update();
    Q_EMIT rebuilt();
}

QString MenuBarStripView::moveHint()
{
    return AppLanguage::string("Drag to move, or press Alt with an arrow key.");
}

/// The left edges of all items as they are drawn.
QHash<MonitorSection, double> MenuBarStripView::shownLefts() const
{
    QHash<MonitorSection, double> lefts;
    for (const Item& item : items())
        lefts.insert(item.section, m_scene.frame(item).left());
    return lefts;
}

/// Slides each item to its place, starting from the earlier left edge in `lefts`. A dragged item does not slide.
void MenuBarStripView::slideFrom(const QHash<MonitorSection, double>& lefts)
{
    for (const Item& item : items()) {
        const double left = m_scene.frame(item).left();
        const double before = lefts.value(item.section, left);
        if (isVisible() && before != left && item.section != dragged())
            m_slides.begin(item.section, before - widgetRect(item.view->frame()).left());
    }
}

void MenuBarStripView::redrawFocused()
{
    if (const auto marked = focused())
        update(backdropRect(*item(*marked)).toAlignedRect().marginsAdded(ringMargins));
}

void MenuBarStripView::mouseMoveEvent(QMouseEvent* event)
{
    drag(event->position());
    // A window in the background does not react to a pointer that passes over it.
    if (isActiveWindow())
        m_scene.hover(event->position());
    else
        m_scene.leave();
    setCursor(m_scene.cursor());
}

bool MenuBarStripView::event(QEvent* event)
{
    if (event->type() == QEvent::WindowDeactivate || event->type() == QEvent::Leave) {
        m_scene.leave();
        setCursor(m_scene.cursor());
    }
    if (event->type() == QEvent::ToolTip) {
        const auto* help = static_cast<QHelpEvent*>(event);
        const Item* under = m_scene.resting(help->pos());
        const QRect place = under ? backdropRect(*under).toAlignedRect() : QRect();
        QToolTip::showText(help->globalPos(), under ? moveHint() : QString(), this, place);
        return true;
    }
    return QWidget::event(event);
}

void MenuBarStripView::mousePressEvent(QMouseEvent* event)
{
    const Item* grabbed = m_scene.grab(*event);
    if (!grabbed)
        return;
    if (m_showsFocus) {
        m_showsFocus = false;
        redrawFocused();
    }
    m_slides.begin(grabbed->section, 0);
    setCursor(m_scene.cursor());
}

void MenuBarStripView::drag(const QPointF& widgetPoint)
{
    if (!dragged())
        return;
    const QHash<MonitorSection, double> before = shownLefts();
    m_scene.drag(widgetPoint);
    slideFrom(before);
    Q_EMIT dragMoved(widgetPoint);
}

void MenuBarStripView::mouseReleaseEvent(QMouseEvent* event)
{
    const QHash<MonitorSection, double> before = shownLefts();
    if (!m_scene.drop(*event))
        return;
    setCursor(m_scene.cursor());
    adoptStored(before);
}

/// Shows the stored order, which is the old order if a save failed. Items slide from `lefts`.
void MenuBarStripView::adoptStored(const QHash<MonitorSection, double>& lefts)
{
    rebuild();
    slideFrom(lefts);
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
    redrawFocused();
    m_focused = items()[std::clamp(index, 0, int(items().size()) - 1)].section;
    m_showsFocus = true;
    redrawFocused();
    Q_EMIT itemFocused(widgetRect(StripItems::ground(*item(*m_focused))));
    MenuBarStripAccessible::tellFocus(this);
}

void MenuBarStripView::moveFocusedItem(int step)
{
    const int from = m_scene.items().index(*focused());
    const int to = from + step;
    if (to >= 0 && to < items().size()) {
        m_focused = items()[from].section;
        const QHash<MonitorSection, double> before = shownLefts();
        m_scene.move(from, to);
        adoptStored(before);
    }
    focusItem(m_scene.items().index(*focused()));
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
        focusItem(m_scene.items().index(*focused()) + step);
}

void MenuBarStripView::focusInEvent(QFocusEvent* event)
{
    const Qt::FocusReason reason = event->reason();
    if (reason == Qt::TabFocusReason || reason == Qt::BacktabFocusReason
        || reason == Qt::ShortcutFocusReason) {
        focusItem(focused() ? m_scene.items().index(*focused()) : 0);
    } else if (reason == Qt::MouseFocusReason) {
        m_showsFocus = false;
    }
    update();
}

void MenuBarStripView::paintEvent(QPaintEvent* event)
{
    QPainter painter(this);
    const ColourScheme scheme = SystemAppearance::shared().scheme();
    const QTransform device = painter.deviceTransform();

    const Appearance appearance = Appearance::current();
    m_scene.paint(
        painter, scheme, StripScene::DragLook::lifted, [&](const Item& item, const QPointF& topLeft) {
            const QRect area = m_scene.frame(item).toAlignedRect().marginsAdded({ 1, 1, 1, 1 });
            if (event->region().intersects(area))
                item.view->draw(painter, topLeft, scheme, device.m11(), appearance);
        });

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

/// Sets the description for screen readers: the names and readouts of all items.
void MenuBarStripView::describe(const Appearance& appearance)
{
    QStringList texts;
    for (const Item& item : items()) {
        const QString readout = m_scene.readoutText(item.section, appearance);
        texts.append((StatusMetricView::description(item.section) + u' ' + readout).trimmed());
    }
    const QString description = texts.join(QStringLiteral(", "));
    if (description != accessibleDescription())
        setAccessibleDescription(description);
}

} // namespace kestrum
