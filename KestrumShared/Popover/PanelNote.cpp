// SPDX-License-Identifier: MIT
#include "KestrumShared/Popover/PanelNote.h"

#include "KestrumShared/Popover/PanelText.h"

#include <QFontDatabase>
#include <QTextLayout>
#include <algorithm>
#include <cmath>

namespace kestrum {
namespace {

constexpr int noteSize = 11;
constexpr int commandSize = 10;
constexpr int noteTitleSize = 10;
constexpr double noteTitleGap = 4;

QFont noteFont(const PanelNote& note)
{
    QFont font = PanelEnvironment::systemFont(note.isCommand ? commandSize : noteSize);
    if (note.isCommand)
        font.setFamilies(QFontDatabase::systemFont(QFontDatabase::FixedFont).families());
    return font;
}

PanelText noteTitle(const PanelNote& note, const PanelEnvironment& environment)
{
    return { note.actionTitle, PanelEnvironment::systemFont(noteTitleSize, QFont::DemiBold),
        environment.headerColour() };
}

/// Breaks the text into lines. Returns their height.
double layOutNote(QTextLayout& layout, const PanelNote& note, const PanelEnvironment& environment)
{
    QTextOption option;
    option.setTextDirection(note.isCommand ? Qt::LeftToRight : environment.direction);
    option.setAlignment(
        Qt::AlignAbsolute | (option.textDirection() == Qt::RightToLeft ? Qt::AlignRight : Qt::AlignLeft));
    option.setWrapMode(QTextOption::WrapAtWordBoundaryOrAnywhere);
    layout.setTextOption(option);
    double height = 0;
    layout.beginLayout();
    for (QTextLine line = layout.createLine(); line.isValid(); line = layout.createLine()) {
        line.setLineWidth(note.width);
        line.setPosition({ 0, height });
        height += std::ceil(line.height());
    }
    layout.endLayout();
    return height;
}

} // namespace

double PanelNote::height(const PanelEnvironment& environment) const
{
    QTextLayout layout(text, noteFont(*this));
    const double lines = layOutNote(layout, *this, environment);
    return actionTitle.isEmpty() ? lines
                                 : lines + noteTitleGap + noteTitle(*this, environment).height(environment);
}

void PanelNote::draw(QPainter& painter, const QRectF& rect, const PanelEnvironment& environment) const
{
    QTextLayout layout(text, noteFont(*this));
    const double lines = layOutNote(layout, *this, environment);
    if (action)
        environment.drawPlate(painter, rect);
    painter.setPen(isCommand ? environment.textColour() : environment.secondaryTextColour());
    layout.draw(&painter, rect.topLeft());
    if (!actionTitle.isEmpty())
        noteTitle(*this, environment)
            .draw(painter, rect.adjusted(0, lines + noteTitleGap, 0, 0), environment);
}

QList<PanelElement> PanelNote::describe(const QRectF& rect, const PanelEnvironment&) const
{
    PanelElement element;
    element.role = action ? PanelElement::Role::button : PanelElement::Role::text;
    element.name = actionTitle.isEmpty() ? text : actionTitle + QStringLiteral(": ") + text;
    element.columns = { text };
    element.rect = rect;
    element.action = action;
    return { element };
}

} // namespace kestrum
