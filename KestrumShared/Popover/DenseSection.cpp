// SPDX-License-Identifier: MIT
#include "KestrumShared/Popover/DenseSection.h"

#include "KestrumShared/Popover/PanelStack.h"
#include "KestrumShared/Popover/SectionTitle.h"

#include <QMarginsF>

namespace kestrum {
namespace {

PanelStack stack(const DenseSection& section, const PanelEnvironment& environment)
{
    PanelStack stack { section.content, environment.metrics.rowSpacing };
    if (section.title)
        stack.parts.prepend(SectionTitle { *section.title });
    return stack;
}

QRectF inner(const QRectF& rect, const PanelEnvironment& environment)
{
    const QMarginsF margins(DenseSection::sidePadding, environment.metrics.sectionPadding,
        DenseSection::sidePadding, environment.metrics.sectionPadding);
    return rect - margins;
}

} // namespace

double DenseSection::height(const PanelEnvironment& environment) const
{
    return stack(*this, environment).height(environment) + 2 * environment.metrics.sectionPadding;
}

void DenseSection::draw(QPainter& painter, const QRectF& rect, const PanelEnvironment& environment) const
{
    stack(*this, environment).draw(painter, inner(rect, environment), environment);
}

QList<PanelElement> DenseSection::describe(const QRectF& rect, const PanelEnvironment& environment) const
{
    PanelElement group;
    group.role = PanelElement::Role::group;
    group.rect = rect;
    group.children = stack(*this, environment).describe(inner(rect, environment), environment);
    if (!group.children.isEmpty()) {
        const PanelElement& first = group.children.first();
        group.name = first.columns.isEmpty() ? first.name : first.columns.first();
    }
    return { group };
}

QList<QRectF> DenseSection::changes(const DenseSection& before, const QRectF& rect,
    const PanelEnvironment& environment, const PanelPointer& pointerBefore) const
{
    return stack(*this, environment)
        .changes(stack(before, environment), inner(rect, environment), environment, pointerBefore);
}

} // namespace kestrum
