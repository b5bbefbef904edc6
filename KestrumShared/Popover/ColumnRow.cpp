// SPDX-License-Identifier: MIT
#include "KestrumShared/Popover/ColumnRow.h"

namespace kestrum {

double ColumnRow::height(const PanelEnvironment&) const
{
    return 15;
}

void ColumnRow::draw(QPainter&, const QRectF&, const PanelEnvironment&) const { }

QList<PanelElement> ColumnRow::describe(const QRectF&, const PanelEnvironment&) const
{
    return {};
}

} // namespace kestrum
