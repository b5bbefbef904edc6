// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Vocabulary/MeterAppearance.h"
#include "Platform/Desktop/SystemAppearance.h"

#include <QPainter>
#include <QSizeF>

namespace kestrum {

/// A small picture of a popover over a desktop: the top leading part of the memory panel at half its size, drawn with the parts of
/// real popovers. Its values are fixed; its texts follow the interface
/// language, and a colour the accent of the memory.
struct PanelMiniature {
    static constexpr QSizeF size { 112, 74 };

    ColourScheme scheme;
    PopoverBackground background;

    /// Draws with the top left corner of the picture at `topLeft`, mirrored for texts from right to left. Restores the painter's state.
    void draw(QPainter& painter, const QPointF& topLeft, Qt::LayoutDirection direction) const;
};

} // namespace kestrum
