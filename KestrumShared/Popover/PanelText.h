// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Popover/PanelEnvironment.h"

#include <QPainter>
#include <QString>

namespace kestrum {

/// One line of text at the leading edge of a rectangle. Text that does not fit is shortened and ends with an ellipsis.
struct PanelText {
    QString text;
    QFont font;
    QColor colour;

    double height(const PanelEnvironment& environment) const;
    /// Draws the text, vertically centred if `rect` is higher than the text.
    void draw(QPainter& painter, const QRectF& rect, const PanelEnvironment& environment) const;
    bool operator==(const PanelText&) const = default;
};

} // namespace kestrum
