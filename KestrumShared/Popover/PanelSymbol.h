// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Popover/PanelEnvironment.h"

#include <QPainter>
#include <QString>

namespace kestrum {

/// A symbol in the middle of a rectangle, sharp at every scale. Nothing is drawn for an unknown name.
struct PanelSymbol {
    QString name;
    double pointSize; ///< of the text that the symbol belongs to
    QColor colour;
    bool isMirrored = false; ///< left and right change places, for arrows in right-to-left panels

    QSizeF size() const;
    void draw(QPainter& painter, const QRectF& rect) const;
};

} // namespace kestrum
