// SPDX-License-Identifier: MIT
#include "KestrumShared/Popover/PopoverHeader.h"

namespace kestrum {

double PopoverHeader::height(const PanelEnvironment&) const
{
    return 38;
}

void PopoverHeader::draw(QPainter&, const QRectF&, const PanelEnvironment&) const { }

QList<PanelElement> PopoverHeader::describe(const QRectF&, const PanelEnvironment&) const
{
    return {};
}

} // namespace kestrum
