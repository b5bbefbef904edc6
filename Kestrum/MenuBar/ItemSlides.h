// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Vocabulary/MonitorSection.h"

#include <QObject>
#include <QVariantAnimation>
#include <array>

namespace kestrum {

/// Lets items of a strip slide to their places: they stand there already, and are drawn beside them for a moment.
class ItemSlides final : public QObject {
    Q_OBJECT
public:
    ItemSlides();

    /// Lets an item come from `offset` points to the right of its place. Where the desktop asks for less motion it is there
    /// at once, and so it is for 0.
    void begin(MonitorSection section, double offset);
    /// How far to the right of its place an item is now, in points.
    double offset(MonitorSection section) const;

Q_SIGNALS:
    /// An item is drawn elsewhere now.
    void moved();

private:
    std::array<QVariantAnimation, std::size(Enumeration<MonitorSection>::cases)> m_slides;
};

} // namespace kestrum
