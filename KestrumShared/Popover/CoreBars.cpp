// SPDX-License-Identifier: MIT
#include "KestrumShared/Popover/CoreBars.h"

namespace kestrum {

double CoreBars::height(const PanelEnvironment&) const
{
    return 26;
}

void CoreBars::draw(QPainter&, const QRectF&, const PanelEnvironment&) const { }

QList<PanelElement> CoreBars::describe(const QRectF&, const PanelEnvironment&) const
{
    return {};
}

} // namespace kestrum
