// SPDX-License-Identifier: MIT
#include "KestrumShared/Popover/SectionTitle.h"

#include "KestrumShared/Popover/PanelNumber.h"
#include "KestrumShared/Popover/PanelSymbol.h"
#include "KestrumShared/Popover/PanelText.h"

#include <QFontMetricsF>
#include <algorithm>

namespace kestrum {
namespace {

constexpr int fontSize = 10;
constexpr double arrowFontSize = 7.5;
constexpr double arrowGap = 3; ///< between a title and its arrow
constexpr double headGap = 8;  ///< between the title and the first head

QFont titleFont()
{
    return PanelEnvironment::systemFont(fontSize, QFont::DemiBold);
}

PanelSymbol arrow(const PanelEnvironment& environment)
{
    return { QStringLiteral("arrow.up.right"), arrowFontSize, environment.headerColour(),
        environment.direction == Qt::RightToLeft };
}

/// The places of a title's words.
struct TitlePlaces {
    QRectF title;        ///< without the arrow
    QRectF pressed;      ///< with the arrow
    QList<QRectF> heads; ///< null for a head without text
};

TitlePlaces places(const SectionTitle& title, const QRectF& rect, const PanelEnvironment& environment)
{
    TitlePlaces places;
    const QFont font = PanelEnvironment::systemFont(fontSize);
    double end = rect.width();
    places.heads.resize(title.heads.size());
    for (qsizetype i = title.heads.size() - 1; i >= 0; --i) {
        const SectionTitle::Head& head = title.heads[i];
        const double width = PanelNumber(head.text, font, environment).width();
        places.heads[i] = environment.fromLeading(rect, end - width, width);
        // A head that is wider than its column begins before it.
        end -= head.width > 0 ? head.width : width;
    }
    const double room = std::max(0.0, end - (title.heads.isEmpty() ? 0 : headGap));
    const double arrowWidth = title.action ? arrowGap + arrow(environment).size().width() : 0;
    const double width = std::min(std::ceil(QFontMetricsF(titleFont()).horizontalAdvance(title.title)),
        std::max(0.0, room - arrowWidth));
    places.title = environment.fromLeading(rect, 0, width);
    places.pressed = environment.fromLeading(rect, 0, width + arrowWidth);
    return places;
}

} // namespace

double SectionTitle::height(const PanelEnvironment& environment) const
{
    return PanelText { title, titleFont(), {} }.height(environment);
}

void SectionTitle::draw(QPainter& painter, const QRectF& rect, const PanelEnvironment& environment) const
{
    const TitlePlaces at = places(*this, rect, environment);
    if (action)
        environment.drawPlate(painter, at.pressed);
    PanelText { title, titleFont(), environment.headerColour() }.draw(painter, at.title, environment);
    if (action) {
        const PanelSymbol symbol = arrow(environment);
        symbol.draw(painter,
            environment.fromLeading(
                at.pressed, at.pressed.width() - symbol.size().width(), symbol.size().width()));
    }
    for (qsizetype i = 0; i < heads.size(); ++i) {
        if (heads[i].action)
            environment.drawPlate(painter, at.heads[i]);
        PanelNumber(heads[i].text, PanelEnvironment::systemFont(fontSize), environment)
            .draw(painter, at.heads[i], environment.secondaryTextColour(), environment);
    }
}

QList<PanelElement> SectionTitle::describe(const QRectF& rect, const PanelEnvironment& environment) const
{
    const TitlePlaces at = places(*this, rect, environment);
    PanelElement element;
    element.columns = { title };
    for (const Head& head : heads)
        element.columns.append(head.text);
    element.action = action;
    if (action) {
        element.role = PanelElement::Role::button;
        element.name = spoken.isEmpty() ? title : title + QStringLiteral(", ") + spoken;
        element.rect = at.pressed;
    } else {
        element.name = element.columns.join(QStringLiteral(", "));
        element.rect = rect;
    }
    QList<PanelElement> elements { element };
    for (qsizetype i = 0; i < heads.size(); ++i) {
        if (!heads[i].action && heads[i].tip.isEmpty())
            continue;
        PanelElement head;
        head.role = heads[i].action ? PanelElement::Role::button : PanelElement::Role::text;
        head.name = heads[i].text;
        head.rect = at.heads[i];
        head.action = heads[i].action;
        head.tip = heads[i].tip;
        elements.append(head);
    }
    return elements;
}

qsizetype SectionTitle::pointedPlace(const QRectF& rect, const PanelEnvironment& environment) const
{
    const TitlePlaces at = places(*this, rect, environment);
    const auto isPointed
        = [&](const QRectF& place) { return environment.isPointed(PanelEnvironment::plate(place)); };
    if (action && isPointed(at.pressed))
        return 0;
    for (qsizetype i = 0; i < heads.size(); ++i) {
        if (heads[i].action && isPointed(at.heads[i]))
            return i + 1;
    }
    return -1;
}

} // namespace kestrum
