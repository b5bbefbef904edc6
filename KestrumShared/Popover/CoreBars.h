// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Popover/PanelPart.h"
#include "KestrumShared/Vocabulary/MeterAppearance.h"

#include <QList>
#include <QString>

namespace kestrum {

/// The loads of all cores as bars. Two or more tiers stand side by side, each with its name and mean load.
struct CoreBars {
    struct Tier {
        QString name; ///< empty for the only tier
        QList<double> loads;
        QColor colour;           ///< deepened until it is readable
        QList<int> numbers = {}; ///< of the cores, from 0 on; empty if they are numbered as they stand
        bool operator==(const Tier&) const = default;
    };
    QList<Tier> tiers; ///< slowest first
    MeterShape shape = MeterShape::pill;
    /// The section's title row, whose head shows the number of cores, or the load of the core at the pointer.
    QString title;

    double height(const PanelEnvironment& environment) const;
    void draw(QPainter& painter, const QRectF& rect, const PanelEnvironment& environment) const;
    QList<PanelElement> describe(const QRectF& rect, const PanelEnvironment& environment) const;
    /// See `PointedPart`.
    qsizetype pointedPlace(const QRectF& rect, const PanelEnvironment& environment) const;
    bool operator==(const CoreBars&) const = default;
};

} // namespace kestrum
