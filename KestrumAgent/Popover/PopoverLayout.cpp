// SPDX-License-Identifier: MIT
#include "KestrumAgent/Popover/PopoverLayout.h"

#include "KestrumShared/Popover/PopoverFrame.h"

namespace kestrum {

PopoverLayout::PopoverLayout(const PopoverPanel& panel, const PanelEnvironment& environment)
{
    const auto append = [&](const PanelPart& part) {
        const QRectF rect(0, m_height, PopoverPanel::width, part.height(environment));
        m_places.append({ part, rect });
        m_elements += part.describe(rect, environment);
        m_height = rect.bottom();
    };
    append(panel.header);
    m_headerElements = m_elements.size();
    for (const PanelPart& section : panel.sections)
        append(section);
    m_height += PopoverFrame::lowerEdge;
    visit([this](const Path& path, const PanelElement& element) {
        const bool isRow = element.role == PanelElement::Role::row;
        if (isRow)
            m_rows.append(path);
        if (element.isRanked)
            m_rankedArea |= element.rect;
        if (isRow || element.action)
            m_stops.append(path);
    });
}

const PanelElement* PopoverLayout::element(const Path& path) const
{
    const QList<PanelElement>* siblings = &m_elements;
    const PanelElement* found = nullptr;
    for (const int index : path) {
        if (index < 0 || index >= siblings->size())
            return nullptr;
        found = &siblings->at(index);
        siblings = &found->children;
    }
    return found;
}

QString PopoverLayout::title() const
{
    QStringList names;
    for (qsizetype i = 0; i < m_headerElements; ++i) {
        if (m_elements[i].role == PanelElement::Role::text)
            names.append(m_elements[i].name);
    }
    return names.join(QStringLiteral(", "));
}

QString PopoverLayout::name() const
{
    for (qsizetype i = 0; i < m_headerElements; ++i) {
        if (m_elements[i].role == PanelElement::Role::text)
            return m_elements[i].columns.value(0);
    }
    return {};
}

QString PopoverLayout::text(const PanelElement& element)
{
    QString text;
    if (!element.columns.isEmpty())
        text = element.columns.join(u'\t') + u'\n';
    for (const PanelElement& child : element.children)
        text += PopoverLayout::text(child);
    return text;
}

QString PopoverLayout::text() const
{
    QString all;
    for (const PanelElement& element : m_elements)
        all += text(element);
    return all;
}

} // namespace kestrum
