// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Popover/PopoverPanel.h"

#include <QList>
#include <QPointF>
#include <QRectF>

namespace kestrum {

/// The content of a popover: where its parts stand, and the elements in it that the user can reach. Coordinates are points
/// from the top left of the header; the sections follow below it as if nothing were scrolled.
class PopoverLayout {
public:
    /// The way to an element: its index among the elements, then its index among that element's children, and so on. Empty for
    /// no element. A path stays the same while values change, which elements do not.
    using Path = QList<int>;

    struct Place {
        PanelPart part;
        QRectF rect;
    };

    /// An empty popover.
    PopoverLayout() = default;
    PopoverLayout(const PopoverPanel& panel, const PanelEnvironment& environment);

    double headerHeight() const { return m_places.isEmpty() ? 0 : m_places.first().rect.height(); }
    double height() const { return m_height; }
    /// The header, then the sections.
    const QList<Place>& places() const { return m_places; }

    /// All elements, the header's first.
    const QList<PanelElement>& elements() const { return m_elements; }
    /// The element at `path`; null if there is none.
    const PanelElement* element(const Path& path) const;
    bool isInHeader(const Path& path) const { return !path.isEmpty() && path.first() < m_headerElements; }
    /// The header's texts: what the popover is called.
    QString title() const;
    /// The first of these, without values: which popover it is. Empty for an empty one.
    QString name() const;

    /// The elements that Tab reaches, in this order: what can be pressed, and the rows.
    const QList<Path>& stops() const { return m_stops; }
    const QList<Path>& rows() const { return m_rows; }
    /// From the top of the first ranked row to the bottom of the last one, with the gaps between them; empty without any.
    QRectF rankedArea() const { return m_rankedArea; }

    /// The innermost element at `point` that fulfils `condition`; empty if there is none. What can be pressed is as large as
    /// its plate. The header's and the sections'
    /// elements never overlap here, so the caller decides first which of them is at a point of the screen.
    template <class Condition> Path at(const QPointF& point, Condition condition) const
    {
        Path found;
        visit([&](const Path& path, const PanelElement& element) {
            const QRectF rect = element.action ? PanelEnvironment::plate(element.rect) : element.rect;
            if (rect.contains(point) && condition(element))
                found = path;
        });
        return found;
    }

    /// An element and all below it as text: a line for each row, columns separated by tabs. What shows no text has no line.
    static QString text(const PanelElement& element);
    /// The whole popover as text.
    QString text() const;

    /// Calls `visitor` with each path and element, parents before their children.
    template <class Visitor> void visit(Visitor visitor) const { visit(m_elements, {}, visitor); }

private:
    template <class Visitor>
    static void visit(const QList<PanelElement>& elements, const Path& parent, Visitor& visitor)
    {
        for (int i = 0; i < elements.size(); ++i) {
            const Path path = parent + Path { i };
            visitor(path, elements[i]);
            visit(elements[i].children, path, visitor);
        }
    }

    QList<Place> m_places;
    QList<PanelElement> m_elements;
    QList<Path> m_stops;
    QList<Path> m_rows;
    QRectF m_rankedArea;
    qsizetype m_headerElements = 0;
    double m_height = 0;
};

} // namespace kestrum
