// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Popover/PanelEnvironment.h"

#include <QPainter>
#include <QString>
#include <optional>

namespace kestrum {

/// A line of a panel: a title, and its value at the trailing edge. Both have the font of the environment. In a narrow panel
/// the title is cut, never the value.
struct ValueRow {
    QString title;
    QString value;
    std::optional<QColor> colour = std::nullopt; ///< of a dot before the title, the key of a graph

    double height(const PanelEnvironment& environment) const;
    void draw(QPainter& painter, const QRectF& rect, const PanelEnvironment& environment) const;
};

} // namespace kestrum
