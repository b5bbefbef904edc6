#pragma once

#include "KestrumShared/Popover/PanelStack.h"
#include "KestrumShared/Popover/PopoverPanel.h"
#include "KestrumShared/Popover/SamplePopoverReadings.h"
#include "tests/Support/FreshSettings.h"
#include "tests/Support/PanelFixture.h"

#include <QStringList>

namespace kestrum {

/// A popover in words and in pixels, with the settings in effect.
class DescribedPanel {
public:
    DescribedPanel(MonitorSection section, const PopoverReadings& readings, const PopoverState& state = {},
        const PanelEnvironment& environment = PanelFixture::in(ColourScheme::light))
        : m_environment(environment)
        , m_panel(
              PopoverPanel::of(section, readings, state, SharedSettings::store().snapshot(), m_environment))
        , m_parts { QList<PanelPart> { m_panel.header } + m_panel.sections }
        , m_elements(m_parts.describe(QRectF(0, 0, PopoverPanel::width, height()), m_environment))
    {
    }

    const QList<PanelElement>& elements() const { return m_elements; }
    double height() const { return m_parts.height(m_environment); }
    /// The whole popover without its surface, on white or black. Places are those of the elements.
    PanelPixels drawn() const { return PanelFixture::drawn(m_parts, m_environment, PopoverPanel::width); }

    /// One line for each element below the header: its columns, separated by " | ", and the share of a bar. The first line of a
    /// group begins with "# ".
    QStringList lines() const
    {
        QStringList lines;
        for (const PanelElement& element : m_elements) {
            if (element.role != PanelElement::Role::group && element.rect.top() >= headerHeight())
                lines.append(line(element));
            for (qsizetype i = 0; i < element.children.size(); ++i)
                lines.append((i == 0 ? QStringLiteral("# ") : QString()) + line(element.children[i]));
        }
        return lines;
    }
    /// The first columns of the group's elements, without its title.
    QStringList groupOf(const QString& title) const
    {
        QStringList names;
        for (const PanelElement& element : m_elements) {
            if (element.role != PanelElement::Role::group || element.name != title)
                continue;
            for (const PanelElement& child : element.children.mid(1))
                names.append(child.columns.value(0, child.name));
        }
        return names;
    }

    /// The first element that fits; an empty element if there is none.
    template <class Fits> PanelElement first(Fits fits) const
    {
        for (const PanelElement& element : m_elements) {
            if (fits(element))
                return element;
            for (const PanelElement& child : element.children) {
                if (fits(child))
                    return child;
            }
        }
        return {};
    }
    /// The first element with `title` in its first column.
    PanelElement element(const QString& title) const
    {
        return first([&](const PanelElement& element) { return element.columns.value(0) == title; });
    }

private:
    double headerHeight() const { return m_panel.header.height(m_environment); }
    static QString line(const PanelElement& element)
    {
        QString line = element.columns.isEmpty() ? element.name : element.columns.join(QStringLiteral(" | "));
        if (element.fraction)
            line += QStringLiteral(" %1").arg(*element.fraction, 0, 'f', 2);
        return line.replace(QChar::Nbsp, QLatin1Char(' '));
    }

    PanelEnvironment m_environment;
    PopoverPanel m_panel;
    PanelStack m_parts;
    QList<PanelElement> m_elements;
};

} // namespace kestrum
