// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Vocabulary/MonitorSection.h"

#include <QObject>
#include <QVariantAnimation>
#include <array>

namespace kestrum {

/// Animates the items of a strip on the way to their places. The item's rectangle is at its new place at once; only the drawing
/// slides.
class ItemSlides final : public QObject {
    Q_OBJECT
public:
    ItemSlides();

    /// Slides an item to its place, starting `offset` points to the right of that place. If the desktop asks for less motion or
    /// `offset` is 0, the item is at its place at once.
    void begin(MonitorSection section, double offset);
    /// How far to the right of its place an item is drawn now, in points.
    double offset(MonitorSection section) const;

Q_SIGNALS:
    /// An item is now drawn at another position.
    void moved();

private:
    std::array<QVariantAnimation, std::size(Enumeration<MonitorSection>::cases)> m_slides;
};

} // namespace kestrum
