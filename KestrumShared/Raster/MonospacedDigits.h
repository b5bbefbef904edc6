// SPDX-License-Identifier: MIT
#pragma once

#include <QColor>
#include <QFont>
#include <QHash>
#include <QPainter>
#include <QRawFont>
#include <QStringView>

namespace kestrum {

/// Draws short texts of numbers and units. All digits are as wide as the widest digit, so that a changing number does not
/// move: Qt 6.4 cannot select a font's tabular digits. Qt itself draws texts with right-to-left letters or with characters
/// that the font lacks; the widths are then not equal.
class MonospacedDigits {
public:
    explicit MonospacedDigits(const QFont& font);

    const QFont& font() const { return m_font; }
    /// Measures of a line and of a text, in the painter's units.
    double lineHeight() const { return m_ascent + m_descent; }
    double descent() const { return m_descent; }
    double width(const QString& text) const;

    /// Draws `text`. The left end of its base line is at `origin`.
    void draw(QPainter& painter, const QPointF& origin, const QString& text, const QColor& colour) const;

private:
    struct Glyph {
        quint32 index;  ///< 0 if Qt has to draw every text with this character
        double offset;  ///< distance of the glyph from the left end of its cell
        double advance; ///< width of the cell
    };
    const Glyph& glyph(QChar character) const;

    QFont m_font;
    QRawFont m_rawFont;
    double m_ascent;
    double m_descent;
    double m_digitAdvance = 0;
    mutable QHash<QChar, Glyph> m_glyphs;
};

} // namespace kestrum
