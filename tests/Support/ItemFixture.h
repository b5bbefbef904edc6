// SPDX-License-Identifier: MIT
#pragma once

#include "tests/Support/ItemPixels.h"

#include <QTest>

namespace kestrum {

/// A test of drawn items. Every test begins with the default settings, no readouts, and readings that the test may change.
/// Items are drawn at scale 20 by default, so edges can be measured to a twentieth of a point.
class ItemFixture : public QObject {
    Q_OBJECT

protected:
    QImage image(MonitorSection section, double scale = 20, ColourScheme scheme = ColourScheme::light) const
    {
        return DrawingFixture::drawn(section, m_readings, scale, scheme);
    }
    ItemPixels drawn(
        MonitorSection section, double scale = 20, ColourScheme scheme = ColourScheme::light) const
    {
        return ItemPixels(image(section, scale, scheme), scale);
    }

    std::shared_ptr<FakeReadings> m_readings;

private Q_SLOTS:
    void init()
    {
        QVERIFY2(DrawingFixture::prepare(), DrawingFixture::noFont);
        DrawingFixture::turnReadoutsOff();
        m_readings = std::make_shared<FakeReadings>();
    }
};

} // namespace kestrum

/// Checks that each edge of a rectangle of `ItemPixels` is at most `tolerance` away from the expected position.
#define QVERIFY_EDGES(rect, leftEdge, lowerEdge, rightEdge, upperEdge, tolerance)                            \
    do {                                                                                                     \
        const QRectF edges = rect;                                                                           \
        QVERIFY_NEAR(edges.left(), leftEdge, tolerance);                                                     \
        QVERIFY_NEAR(edges.top(), lowerEdge, tolerance);                                                     \
        QVERIFY_NEAR(edges.right(), rightEdge, tolerance);                                                   \
        QVERIFY_NEAR(edges.bottom(), upperEdge, tolerance);                                                  \
    } while (false)
