// SPDX-License-Identifier: MIT
#include "KestrumShared/Popover/SectionTitle.h"

namespace kestrum {

double SectionTitle::height(const PanelEnvironment&) const
{
    return 12;
}

void SectionTitle::draw(QPainter&, const QRectF&, const PanelEnvironment&) const { }

QList<PanelElement> SectionTitle::describe(const QRectF&, const PanelEnvironment&) const
{
    return {};
}

} // namespace kestrum
