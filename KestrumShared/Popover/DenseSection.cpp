// SPDX-License-Identifier: MIT
#include "KestrumShared/Popover/DenseSection.h"

#include "KestrumShared/Popover/PanelStack.h"
#include "KestrumShared/Popover/PanelText.h"

namespace kestrum {
namespace {

constexpr double sidePadding = 12;
constexpr int sectionTitleSize = 10;

PanelStack stack(const DenseSection& section, const PanelEnvironment& environment)
{
    PanelStack stack { section.content, environment.metrics.rowSpacing };
    if (section.title)
        stack.parts.prepend(PanelText { *section.title,
            PanelEnvironment::systemFont(sectionTitleSize, QFont::DemiBold), environment.headerColour() });
    return stack;
}

} // namespace

double DenseSection::height(const PanelEnvironment& environment) const
{
    return stack(*this, environment).height(environment) + 2 * environment.metrics.sectionPadding;
}

void DenseSection::draw(QPainter& painter, const QRectF& rect, const PanelEnvironment& environment) const
{
    const double padding = environment.metrics.sectionPadding;
    stack(*this, environment)
        .draw(painter, rect.adjusted(sidePadding, padding, -sidePadding, -padding), environment);
}

} // namespace kestrum
