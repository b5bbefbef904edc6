// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumAgent/Panel/PanelStrip.h"
#include "tests/Support/DrawingFixture.h"
#include "tests/Support/PaintWatcher.h"

#include <QApplication>
#include <QMouseEvent>
#include <QTest>

namespace kestrum {

/// A strip on the screen. Mouse actions take places in points from the strip's first item.
struct PanelStripFixture {
    std::shared_ptr<FakeReadings> readings = std::make_shared<FakeReadings>();
    PanelStrip strip { readings };

    PanelStripFixture()
    {
        strip.setWindowFlags(Qt::Window | Qt::FramelessWindowHint);
        QObject::connect(
            &strip, &PanelStrip::rebuilt, &strip, [this] { strip.setFixedSize(strip.sizeHint()); });
        strip.setFixedSize(strip.sizeHint());
        strip.show();
    }

    void send(QEvent::Type type, double x, Qt::MouseButton button, Qt::MouseButtons held)
    {
        const QPointF at(x + PanelStrip::sideRoom, 11);
        QMouseEvent event(type, at, strip.mapToGlobal(at), button, held, Qt::NoModifier);
        QApplication::sendEvent(&strip, &event);
    }
    void move(double x) { send(QEvent::MouseMove, x, Qt::NoButton, Qt::NoButton); }
    void press(double x) { send(QEvent::MouseButtonPress, x, Qt::LeftButton, Qt::LeftButton); }
    void drag(double x) { send(QEvent::MouseMove, x, Qt::NoButton, Qt::LeftButton); }
    void release(double x) { send(QEvent::MouseButtonRelease, x, Qt::LeftButton, Qt::NoButton); }

    QRectF frame(MonitorSection section) const { return strip.items().item(section)->view->frame(); }
    double middle(MonitorSection section) const { return frame(section).center().x(); }
    QRect place(MonitorSection section) const
    {
        return strip.place(*strip.items().item(section)).toAlignedRect();
    }
    QImage picture() { return strip.grab().toImage(); }
    void watchWith(PaintWatcher& watcher)
    {
        QVERIFY(QTest::qWaitForWindowExposed(&strip));
        QTest::qWait(50);
        strip.installEventFilter(&watcher);
    }
};

} // namespace kestrum
