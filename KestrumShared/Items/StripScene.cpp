// SPDX-License-Identifier: MIT
#include "KestrumShared/Items/StripScene.h"

#include "KestrumShared/Items/SectionItem.h"
#include "KestrumShared/Items/StripBackground.h"
#include "KestrumShared/Text/AppLanguage.h"

#include <QHash>
#include <QStringList>
#include <cmath>
#include <utility>

namespace kestrum {

StripScene::StripScene(std::shared_ptr<const MenuBarReadings> readings, QSize room)
    : m_readings(std::move(readings))
    , m_room(room)
{
}

void StripScene::rebuild(const Appearance& appearance)
{
    rebuild(MeterSettings::storedOrder(appearance.settings), appearance);
}

void StripScene::rebuild(const QList<MonitorSection>& order, const Appearance& appearance)
{
    m_items.rebuild(order, m_readings, appearance);
}

QSize StripScene::size() const
{
    const QSizeF items = m_items.size();
    return QSize(int(std::ceil(items.width())), int(items.height())) + 2 * m_room;
}

QPointF StripScene::stripPoint(const QPointF& point) const
{
    return { point.x() - m_room.width(), m_room.height() + StatusMetricView::height - point.y() };
}

QRectF StripScene::widgetRect(const QRectF& stripRect) const
{
    return { stripRect.left() + m_room.width(),
        m_room.height() + StatusMetricView::height - stripRect.bottom(), stripRect.width(),
        stripRect.height() };
}

QRectF StripScene::frame(const Item& item) const
{
    return widgetRect(item.view->frame()).translated(m_offset(item.section), 0);
}

QRectF StripScene::ground(const Item& item) const
{
    return widgetRect(StripItems::ground(item)).translated(m_offset(item.section), 0);
}

Qt::CursorShape StripScene::cursor() const
{
    return dragged() ? Qt::ClosedHandCursor : m_hovered ? Qt::OpenHandCursor : Qt::ArrowCursor;
}

const StripScene::Item* StripScene::resting(const QPointF& point) const
{
    return dragged() ? nullptr : m_items.item(stripPoint(point));
}

void StripScene::setHovered(std::optional<MonitorSection> section)
{
    if (dragged() || section == m_hovered)
        return;
    for (const auto repainted : { std::exchange(m_hovered, section), section }) {
        if (const Item* item = m_items.item(repainted))
            Q_EMIT changed(ground(*item));
    }
}

void StripScene::setOpened(std::optional<MonitorSection> section)
{
    if (section == m_opened)
        return;
    for (const auto repainted : { std::exchange(m_opened, section), section }) {
        if (const Item* item = m_items.item(repainted))
            Q_EMIT changed(ground(*item));
    }
}

void StripScene::hover(const QPointF& point)
{
    const Item* under = resting(point);
    setHovered(under ? std::optional(under->section) : std::nullopt);
}

void StripScene::leave()
{
    setHovered(std::nullopt);
}

const StripScene::Item* StripScene::grab(const QMouseEvent& press)
{
    return press.button() == Qt::LeftButton ? grab(press.position()) : nullptr;
}

const StripScene::Item* StripScene::grab(const QPointF& point)
{
    const Item* item = resting(point);
    if (item) {
        setHovered(item->section);
        m_items.grab(*item, stripPoint(point).x());
    }
    return item;
}

void StripScene::drag(const QPointF& point)
{
    QHash<MonitorSection, double> before;
    for (const Item& item : m_items.list())
        before.insert(item.section, item.view->frame().left());
    m_items.drag(stripPoint(point).x());
    for (const Item& item : m_items.list()) {
        const double moved = item.view->frame().left() - before[item.section];
        if (moved != 0)
            Q_EMIT changed(ground(item) | ground(item).translated(-moved, 0));
    }
}

bool StripScene::drop(const QMouseEvent& release)
{
    if (!dragged() || release.button() != Qt::LeftButton)
        return false;
    m_items.drop();
    MeterSettings::setMenuBarOrder(m_items.sections());
    return true;
}

void StripScene::move(int from, int to)
{
    m_items.swap(from, to);
    MeterSettings::setMenuBarOrder(m_items.sections());
}

void StripScene::paint(QPainter& painter, ColourScheme scheme, DragLook look,
    const std::function<void(const Item&, const QPointF&)>& drawItem) const
{
    const auto draw = [&, device = painter.deviceTransform()](const Item& item) {
        const QPointF corner = frame(item).topLeft();
        drawItem(item, QPointF(StripBackground::onPixel(corner.x(), device), corner.y()));
    };
    const Item* lifted = m_items.item(dragged());
    const Item* hovered = m_items.item(m_hovered);
    if (hovered && !(look == DragLook::lifted && dragged()))
        StripBackground::drawBackdrop(painter, ground(*hovered), scheme);
    const Item* opened = m_items.item(m_opened);
    if (opened && opened != hovered)
        StripBackground::drawBackdrop(painter, ground(*opened), scheme);
    for (const Item& each : m_items.list()) {
        if (&each != lifted)
            draw(each);
    }
    if (!lifted)
        return;
    if (look == DragLook::lifted)
        StripBackground::drawLifted(painter, ground(*lifted), scheme);
    draw(*lifted);
}

QImage StripScene::picture(const Item& item, const ItemInk& ink, double scale, const Appearance& appearance)
{
    const QSizeF size = item.view->frame().size() + QSizeF(spareWidth, 0);
    // A scale that was made of a number of pixels may give a hair more than this number.
    const auto pixels = [scale](double points) { return int(std::ceil(points * scale - 1e-6)); };
    QImage image(pixels(size.width()), pixels(size.height()), QImage::Format_ARGB32_Premultiplied);
    // Qt takes a ratio below 1 for 1 in some versions, and as it is in others.
    image.setDevicePixelRatio(std::max(scale, 1.0));
    image.fill(Qt::transparent);
    QPainter painter(&image);
    if (scale < 1)
        painter.scale(scale, scale);
    item.view->draw(painter, QPointF(0, 0), ink, scale, appearance);
    painter.end();
    image.setDevicePixelRatio(scale);
    return image;
}

QString StripScene::readoutText(MonitorSection section, const Appearance& appearance) const
{
    return StatusMetricView::readoutText(section, *m_readings, appearance).value_or(QString());
}

QString StripScene::text(MonitorSection section, const Appearance& appearance) const
{
    const SectionItem& item = SectionItem::of(section);
    const ItemReadout chosen = item.readout(appearance);
    const ItemReadout& said = chosen.kind ? chosen : item.shownByMeter;
    if (!said.kind)
        return item.name();
    std::optional<QString> text = said.text(*m_readings, appearance);
    if (text && said.kind->said)
        text = said.kind->said(*text);
    return AppLanguage::string("%@ — %@: %@",
        { item.name(), AppLanguage::string(said.title),
            text.value_or(AppLanguage::string("no sensor for this")) });
}

QString StripScene::summary() const
{
    const Appearance appearance = Appearance::current();
    QStringList lines;
    for (const Item& item : m_items.list())
        lines.append(text(item.section, appearance));
    return lines.join(u'\n');
}

} // namespace kestrum
