// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Popover/PanelEnvironment.h"
#include "KestrumShared/Raster/MonospacedDigits.h"

#include <QPainter>
#include <QString>

namespace kestrum {

/// A value at the trailing edge of a rectangle, with digits of one width, in the panel's order of words. It is never shortened.
class PanelNumber {
public:
    PanelNumber(const QString& text, const QFont& font, const PanelEnvironment& environment);

    double width() const { return m_width; }
    /// Draws the text, vertically centred.
    void draw(QPainter& painter, const QRectF& rect, const QColor& colour,
        const PanelEnvironment& environment) const;

private:
    MonospacedDigits m_digits;
    QString m_text;
    double m_width;
};

} // namespace kestrum
