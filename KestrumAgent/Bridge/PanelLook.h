// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Items/ItemInk.h"

#include <QColor>
#include <QVariantMap>
#include <optional>

namespace kestrum {

/// How a place in a desktop's panel looks, by the word of its bridge.
struct PanelLook {
    double scale = 1;                 ///< pixels per point, 0.5 to 4
    std::optional<QColor> foreground; ///< the colour of texts there
    int room = 800;                   ///< the greatest height of a popover, in points

    /// Takes the values that `told` has. A value of another type, or without a meaning, is ignored; a number out of range becomes
    /// the nearest one in it.
    void adopt(const QVariantMap& told);

    /// The colours for items: those of a dark background where texts are light. Without a foreground, the desktop's.
    ItemInk ink() const;

    bool operator==(const PanelLook&) const = default;
};

} // namespace kestrum
