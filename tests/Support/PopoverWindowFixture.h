#pragma once

#include "KestrumAgent/Popover/PopoverWindow.h"

#include <QPainter>
#include <memory>

namespace kestrum {

/// A part of a popover with given elements, whose places are relative to the part. It is filled with one colour.
struct PlainPart {
    double tall = 0;
    QList<PanelElement> elements = {};
    QColor colour = Qt::transparent;
    /// Where the pointer was when the part was last drawn.
    std::shared_ptr<std::optional<QPointF>> pointer = std::make_shared<std::optional<QPointF>>();

    double height(const PanelEnvironment&) const { return tall; }
    void draw(QPainter& painter, const QRectF& rect, const PanelEnvironment& environment) const
    {
        painter.fillRect(rect, colour);
        *pointer = environment.pointer;
    }
    /// The part looks different where the pointer comes and goes.
    QList<QRectF> changes(const PlainPart&, const QRectF& rect, const PanelEnvironment& environment,
        const PanelPointer& pointerBefore) const
    {
        const bool wasPointed = pointerBefore && rect.contains(*pointerBefore);
        return wasPointed || environment.isPointed(rect) ? QList { rect } : QList<QRectF>();
    }
    QList<PanelElement> describe(const QRectF& rect, const PanelEnvironment&) const
    {
        QList<PanelElement> moved = elements;
        for (PanelElement& element : moved) {
            element.rect.translate(rect.topLeft());
            for (PanelElement& child : element.children)
                child.rect.translate(rect.topLeft());
        }
        return moved;
    }
};

/// A popover's window with a header, a list and a graph.
struct PopoverWindowFixture {
    using Kind = PanelAction::Kind;
    using Role = PanelElement::Role;

    PopoverWindow window;
    PlainPart header { 40, {}, Qt::red };
    PlainPart list { 100 };
    PlainPart graph { 200 };
    double scale = 1;
    QString copied; ///< the last text that the user wanted on the clipboard

    PopoverWindowFixture()
    {
        QObject::connect(
            &window, &PopoverWindow::copied, &window, [this](const QString& text) { copied = text; });
        PanelElement title = element(Role::text, "CPU, 49 %");
        title.columns = { QStringLiteral("CPU"), QStringLiteral("49 %") };
        PanelElement pin = element(Role::checkBox, "Keep open");
        pin.rect = QRectF(240, 8, 24, 24);
        pin.action = { Kind::togglePin };
        PanelElement gear = element(Role::button, "Settings…");
        gear.rect = QRectF(270, 8, 24, 24);
        gear.action = { Kind::openSettings };
        header.elements = { title, pin, gear };

        PanelElement apps = element(Role::group, "APPS");
        PanelElement link = element(Role::button, "Open System Monitor");
        link.columns = { QStringLiteral("APPS") };
        link.rect = QRectF(12, 10, 60, 12);
        link.action = { Kind::openSystemMonitor };
        apps.children
            = { link, row("Firefox", "3.9", 30), row("cargo", "2.2", 50), row("Kernel", "0.1", 70) };
        list.elements = { apps };

        PanelElement usage = element(Role::graph, "Usage");
        usage.rect = QRectF(12, 10, 276, 70);
        PanelElement swap = element(Role::bar, "SWAP");
        swap.rect = QRectF(12, 150, 276, 8);
        swap.fraction = 0.25;
        graph.elements = { usage, swap };
        show();
    }

    static PanelElement element(PanelElement::Role role, const char* name)
    {
        PanelElement element;
        element.role = role;
        element.name = QString::fromUtf8(name);
        return element;
    }
    static PanelElement row(const char* name, const char* cores, double top)
    {
        PanelElement row = element(PanelElement::Role::row, "");
        row.columns = { QString::fromLatin1(name), QString::fromLatin1(cores) };
        row.name = row.columns.join(QStringLiteral(", cores "));
        row.rect = QRectF(12, top, 276, 15);
        row.isRanked = true;
        return row;
    }

    /// Gives the window its content, and all the room or so many points of it.
    void show(int room = 10000)
    {
        PopoverPanel panel { header, { list, graph } };
        window.update(window.setContent(panel, PanelEnvironment(), scale));
        window.setFixedSize(window.sizeFor(room));
        window.show();
    }
    QString focused() const
    {
        const PanelElement* element = window.layout().element(window.focus().path());
        return element ? element->name : QString();
    }
};

} // namespace kestrum
