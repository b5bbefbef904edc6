// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Popover/PanelPart.h"

#include <QList>
#include <QString>
#include <optional>

namespace kestrum {

/// A section of a panel: parts one below the other, with an optional title above them.
struct DenseSection {
    static constexpr double sidePadding = 12; ///< on each side of the content, in points

    std::optional<QString> title = std::nullopt;
    QList<PanelPart> content = {};
    QList<PanelPart> others = {}; ///< below the content; the title does not speak of these

    double height(const PanelEnvironment& environment) const;
    void draw(QPainter& painter, const QRectF& rect, const PanelEnvironment& environment) const;
    /// One group with the content, and after it the others. Its name is the section's title, or the first words of its content.
    QList<PanelElement> describe(const QRectF& rect, const PanelEnvironment& environment) const;
    /// As `PanelPart::changes`.
    QList<QRectF> changes(const DenseSection& before, const QRectF& rect, const PanelEnvironment& environment,
        const PanelPointer& pointerBefore) const;
};

} // namespace kestrum
