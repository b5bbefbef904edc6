// SPDX-License-Identifier: MIT
#include "KestrumShared/Popover/ColumnRow.h"

#include "KestrumShared/Popover/KeyDot.h"
#include "KestrumShared/Popover/PanelNumber.h"
#include "KestrumShared/Popover/PanelText.h"

#include <algorithm>

namespace kestrum {
namespace {

constexpr double nameGap = 6; ///< between the name and the first number
constexpr double readableText = 4.5;

} // namespace

double ColumnRow::height(const PanelEnvironment& environment) const
{
    return PanelText { name, environment.font, {} }.height(environment);
}

void ColumnRow::draw(QPainter& painter, const QRectF& rect, const PanelEnvironment& environment) const
{
    if (name.isEmpty())
        return;
    if (action)
        environment.drawPlate(painter, rect);
    double end = rect.width();   // of the next column
    double first = rect.width(); // where the numbers begin
    for (auto column = columns.crbegin(); column != columns.crend(); ++column) {
        const PanelNumber number(column->text, environment.font, environment);
        const QColor ink = column->colour ? environment.readable(*column->colour, readableText)
            : column->isSecondary         ? environment.secondaryTextColour()
                                          : environment.textColour();
        number.draw(painter, environment.fromLeading(rect, 0, end), ink, environment);
        if (!column->text.isEmpty())
            first = end - number.width();
        end -= column->width > 0 ? column->width : number.width();
    }
    double start = indent;
    if (colour) {
        KeyDot { *colour }.draw(painter, rect, start, environment);
        start += KeyDot::size + KeyDot::spacing;
    }
    const double room = std::max(0.0, first - (first < rect.width() ? nameGap : 0) - start);
    PanelText { name, environment.font,
        isNameSecondary ? environment.secondaryTextColour() : environment.textColour() }
        .draw(painter, environment.fromLeading(rect, start, room), environment);
}

QList<PanelElement> ColumnRow::describe(const QRectF& rect, const PanelEnvironment&) const
{
    if (name.isEmpty())
        return {};
    PanelElement row;
    row.role = PanelElement::Role::row;
    row.columns = { name };
    for (const Column& column : columns) {
        if (!column.text.isEmpty())
            row.columns.append(column.text);
    }
    row.name = spoken.isEmpty() ? row.columns.join(QStringLiteral(", ")) : spoken;
    row.rect = rect;
    row.action = action;
    row.isRanked = isRanked;
    return { row };
}

qsizetype ColumnRow::pointedPlace(const QRectF& rect, const PanelEnvironment& environment) const
{
    return action && !name.isEmpty() && environment.isPointed(PanelEnvironment::plate(rect)) ? 0 : -1;
}

} // namespace kestrum
