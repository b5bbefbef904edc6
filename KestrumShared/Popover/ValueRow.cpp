// SPDX-License-Identifier: MIT
#include "KestrumShared/Popover/ValueRow.h"

#include "KestrumShared/Popover/KeyDot.h"
#include "KestrumShared/Popover/PanelNumber.h"
#include "KestrumShared/Popover/PanelText.h"

#include <algorithm>

namespace kestrum {
namespace {

PanelText titleText(const ValueRow& row, const PanelEnvironment& environment)
{
    return { row.title, environment.font, environment.secondaryTextColour() };
}

} // namespace

double ValueRow::height(const PanelEnvironment& environment) const
{
    return std::max(titleText(*this, environment).height(environment), colour ? KeyDot::size : 0);
}

void ValueRow::draw(QPainter& painter, const QRectF& rect, const PanelEnvironment& environment) const
{
    double start = 0;
    if (colour) {
        KeyDot { *colour }.draw(painter, rect, 0, environment);
        start = KeyDot::size + KeyDot::spacing;
    }
    const PanelNumber number(value, environment.font, environment);
    number.draw(painter, rect, environment.textColour(), environment);
    const double titleRoom = rect.width() - start - (value.isEmpty() ? 0 : number.width() + spacing);
    titleText(*this, environment).draw(painter, environment.fromLeading(rect, start, titleRoom), environment);
}

QList<PanelElement> ValueRow::describe(const QRectF& rect, const PanelEnvironment&) const
{
    PanelElement row;
    row.role = PanelElement::Role::row;
    row.columns = { title, value };
    row.columns.removeAll(QString());
    row.name = row.columns.join(QStringLiteral(", "));
    row.rect = rect;
    return { row };
}

} // namespace kestrum
