// SPDX-License-Identifier: MIT
#include "KestrumShared/Popover/DenseSection.h"

#include "KestrumShared/Popover/PanelStack.h"
#include "KestrumShared/Popover/SectionTitle.h"

#include <QMarginsF>

namespace kestrum {
namespace {

PanelStack stack(const DenseSection& section, const PanelEnvironment& environment)
{
    PanelStack stack { section.content + section.others, environment.metrics.rowSpacing };
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
    QList<PanelElement> after;
    const PanelStack parts = stack(*this, environment);
    const QList<QRectF> places = parts.places(inner(rect, environment), environment);
    const qsizetype grouped = places.size() - others.size();
    for (qsizetype i = 0; i < places.size(); ++i)
        (i < grouped ? group.children : after) += parts.parts[i].describe(places[i], environment);
    if (!others.isEmpty() && grouped > 0)
        group.rect.setBottom(places[grouped - 1].bottom());
    if (!group.children.isEmpty()) {
        const PanelElement& first = group.children.first();
        group.name = first.columns.isEmpty() ? first.name : first.columns.first();
    }
    return QList<PanelElement> { group } + after;
}

QList<QRectF> DenseSection::changes(const DenseSection& before, const QRectF& rect,
    const PanelEnvironment& environment, const PanelPointer& pointerBefore) const
{
    return stack(*this, environment)
        .changes(stack(before, environment), inner(rect, environment), environment, pointerBefore);
}

} // namespace kestrum
