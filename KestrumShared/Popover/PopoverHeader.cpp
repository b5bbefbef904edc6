// SPDX-License-Identifier: MIT
#include "KestrumShared/Popover/PopoverHeader.h"

#include "KestrumShared/Popover/CompactHeader.h"
#include "KestrumShared/Popover/PanelNumber.h"
#include "KestrumShared/Popover/PanelSymbol.h"
#include "KestrumShared/Popover/PanelText.h"
#include "KestrumShared/Text/AppLanguage.h"

#include <QFontMetricsF>
#include <algorithm>

namespace kestrum {
namespace {

constexpr double edgeRoom = 12;
constexpr double symbolSize = 12; ///< of the font that the symbols go with
constexpr double symbolWidth = 14;
constexpr double targetSize = 24;
constexpr double targetPitch = 26; ///< from one symbol's middle to the next
constexpr double wordGap = 8;
constexpr int nameSize = 12;
constexpr int valueSize = 13;

struct HeaderPlaces {
    QList<QRectF> tabs;
    QRectF title, value, pin, gear;
};

/// The target whose symbol's middle is `distance` from the leading edge.
QRectF target(const QRectF& rect, double distance, const PanelEnvironment& environment)
{
    QRectF target = environment.fromLeading(rect, distance - targetSize / 2, targetSize);
    target.setTop(rect.center().y() - targetSize / 2);
    target.setHeight(targetSize);
    return target;
}

HeaderPlaces places(
    const PopoverHeader& header, const QRectF& rect, double valueWidth, const PanelEnvironment& environment)
{
    HeaderPlaces places;
    const double gear = rect.width() - edgeRoom - symbolWidth / 2;
    places.gear = target(rect, gear, environment);
    if (header.hasPin)
        places.pin = target(rect, gear - targetPitch, environment);
    const double valueEnd = gear - (header.hasPin ? targetPitch : 0) - symbolWidth / 2 - edgeRoom;
    places.value = environment.fromLeading(rect, valueEnd - valueWidth, valueWidth);
    for (qsizetype i = 0; i < header.tabs.size(); ++i)
        places.tabs.append(target(rect, edgeRoom + symbolWidth / 2 + double(i) * targetPitch, environment));
    const double symbol = header.tabs.isEmpty() ? PanelSymbol { header.icon, symbolSize, {} }.size().width()
                                                : double(header.tabs.size() - 1) * targetPitch + symbolWidth;
    const double start = edgeRoom + symbol + wordGap;
    places.title
        = environment.fromLeading(rect, start, std::max(0.0, valueEnd - valueWidth - wordGap - start));
    return places;
}

QFont valueFont()
{
    return PanelEnvironment::systemFont(valueSize, QFont::DemiBold);
}

} // namespace

double PopoverHeader::height(const PanelEnvironment& environment) const
{
    return CompactHeader {}.height(environment);
}

void PopoverHeader::draw(QPainter& painter, const QRectF& rect, const PanelEnvironment& environment) const
{
    const PanelNumber number(value, valueFont(), environment);
    const HeaderPlaces at = places(*this, rect, number.width(), environment);
    for (qsizetype i = 0; i < tabs.size(); ++i) {
        environment.drawPlate(painter, at.tabs[i]);
        PanelSymbol { tabs[i].icon, symbolSize,
            tabs[i].isCurrent ? environment.headerColour() : environment.secondaryTextColour() }
            .draw(painter, at.tabs[i]);
    }
    if (tabs.isEmpty()) {
        const PanelSymbol symbol { icon, symbolSize, environment.headerColour() };
        symbol.draw(painter, environment.fromLeading(rect, edgeRoom, symbol.size().width()));
    }
    PanelText { title, PanelEnvironment::systemFont(nameSize, QFont::DemiBold), environment.textColour() }
        .draw(painter, at.title, environment);
    number.draw(painter, at.value, environment.textColour(), environment);
    if (hasPin) {
        environment.drawPlate(painter, at.pin);
        PanelSymbol { isPinned ? QStringLiteral("pin.fill") : QStringLiteral("pin"), symbolSize,
            isPinned ? environment.headerColour() : environment.secondaryTextColour() }
            .draw(painter, at.pin);
    }
    environment.drawPlate(painter, at.gear);
    PanelSymbol { QStringLiteral("gearshape"), symbolSize, environment.secondaryTextColour() }.draw(
        painter, at.gear);
}

QList<PanelElement> PopoverHeader::describe(const QRectF& rect, const PanelEnvironment& environment) const
{
    const HeaderPlaces at
        = places(*this, rect, PanelNumber(value, valueFont(), environment).width(), environment);
    QList<PanelElement> elements;
    for (qsizetype i = 0; i < tabs.size(); ++i) {
        PanelElement tab;
        tab.role = PanelElement::Role::tab;
        tab.name = tabs[i].title;
        tab.rect = at.tabs[i];
        tab.action = tabs[i].action;
        tab.isChecked = tabs[i].isCurrent;
        elements.append(tab);
    }
    PanelElement text;
    text.columns = { title, value };
    text.columns.removeAll(QString());
    text.name = text.columns.join(QStringLiteral(", "));
    text.rect = at.title.united(at.value);
    elements.append(text);

    if (hasPin) {
        PanelElement pin;
        pin.role = PanelElement::Role::checkBox;
        pin.name = AppLanguage::string("Keep open");
        pin.rect = at.pin;
        pin.action = { PanelAction::Kind::togglePin };
        pin.isChecked = isPinned;
        elements.append(pin);
    }

    PanelElement gear;
    gear.role = PanelElement::Role::button;
    gear.name = AppLanguage::string("Settings…");
    gear.rect = at.gear;
    gear.action = { PanelAction::Kind::openSettings };
    elements.append(gear);
    return elements;
}

qsizetype PopoverHeader::pointedPlace(const QRectF& rect, const PanelEnvironment& environment) const
{
    // The value's width moves nothing that can be pressed.
    const HeaderPlaces at = places(*this, rect, 0, environment);
    const QList<QRectF> targets = QList<QRectF> { at.pin, at.gear } + at.tabs;
    for (qsizetype i = 0; i < targets.size(); ++i) {
        if (environment.isPointed(targets[i]))
            return i;
    }
    return -1;
}

} // namespace kestrum
