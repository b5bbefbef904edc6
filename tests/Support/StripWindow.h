#pragma once

#include "Kestrum/MenuBar/MenuBarStripView.h"
#include "KestrumShared/Settings/Setting.h"
#include "Platform/Desktop/SystemAppearance.h"
#include "tests/Support/FreshSettings.h"
#include "tests/Support/Widgets.h"

#include <QMouseEvent>
#include <QPainter>
#include <cmath>
#include <optional>

namespace kestrum {

/// A strip in a window of its own. Mouse actions take exact places in strip coordinates.
struct StripWindow {
    using Sections = QList<MonitorSection>;

    QWidget window;
    MenuBarStripView strip { &window };

    /// The state before every test: nothing is stored, and the panel is light.
    static void prepare()
    {
        forgetSettings();
        QTest::qWait(20); // until the notice of this change has arrived
        SystemAppearance::shared().setScheme(ColourScheme::light);
    }

    StripWindow()
    {
        window.resize(600, 80);
        strip.setGeometry(QRect(QPoint(20, 20), strip.sizeHint()));
        QObject::connect(
            &strip, &MenuBarStripView::rebuilt, &strip, [this] { strip.resize(strip.sizeHint()); });
    }

    void show()
    {
        activate(window);
        strip.clearFocus();
    }

    QPointF at(double x, double y = 11) const
    {
        const double top = MenuBarStripView::room.height() + StatusMetricView::height;
        return { x + MenuBarStripView::room.width(), top - y };
    }

    void send(QEvent::Type type, const QPointF& point, Qt::MouseButton button, Qt::MouseButtons held)
    {
        QMouseEvent event(type, point, strip.mapToGlobal(point), button, held, Qt::NoModifier);
        QApplication::sendEvent(&strip, &event);
    }
    void move(double x, double y = 11) { send(QEvent::MouseMove, at(x, y), Qt::NoButton, Qt::NoButton); }
    void press(double x, double y = 11)
    {
        send(QEvent::MouseButtonPress, at(x, y), Qt::LeftButton, Qt::LeftButton);
    }
    void drag(double x) { send(QEvent::MouseMove, at(x), Qt::NoButton, Qt::LeftButton); }
    void release(double x) { send(QEvent::MouseButtonRelease, at(x), Qt::LeftButton, Qt::NoButton); }
    void leave()
    {
        QEvent event(QEvent::Leave);
        QApplication::sendEvent(&strip, &event);
    }

    QRectF frame(MonitorSection section) const { return strip.item(section)->view->frame(); }
    double middle(MonitorSection section) const { return frame(section).center().x(); }

    /// The left edge of an item as it is drawn. While the item slides, this edge differs from the item's place.
    double shownLeft(MonitorSection section) const
    {
        return strip.backdropRect(*strip.item(section)).left() + 4 - MenuBarStripView::room.width();
    }

    Sections sections() const
    {
        Sections sections;
        for (const auto& item : strip.items())
            sections.append(item.section);
        return sections;
    }

    /// Whether all items (except `but`) are 8 points apart, starting at 0.
    bool standsOnGrid(std::optional<MonitorSection> but = std::nullopt) const
    {
        double x = 0;
        for (const auto& item : strip.items()) {
            if (item.section != but && std::abs(item.view->frame().left() - x) > 1e-9)
                return false;
            x += item.view->frame().width() + 8;
        }
        return true;
    }

    QImage picture(double scale = 1) { return pictureOf(strip, Qt::transparent, scale); }
    QColor pixel(double x, double y)
    {
        const QPointF place = at(x, y);
        return picture().pixelColor(int(std::floor(place.x())), int(std::floor(place.y())));
    }
};

/// A strip in an active window.
struct ShownStrip : StripWindow {
    ShownStrip() { show(); }
};

} // namespace kestrum
