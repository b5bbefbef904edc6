// SPDX-License-Identifier: MIT
#pragma once

#include <QColor>
#include <QFont>
#include <QHash>
#include <QPainter>
#include <QRawFont>
#include <QStringView>

namespace kestrum {

/// Texts whose digits all take the room of the widest one, so that a number that counts does not jitter:
/// Qt 6.4 cannot ask a font for its tabular figures. For short texts of numbers and units; one with letters that are
/// written from the right is left to Qt as it is.
class MonospacedDigits {
public:
    explicit MonospacedDigits(const QFont& font);

    const QFont& font() const { return m_font; }
    /// Measures of a line and of a text, in the units that `draw` draws in.
    double lineHeight() const { return m_ascent + m_descent; }
    double descent() const { return m_descent; }
    double width(const QString& text) const;

    /// Draws with the left end of the text's base line at `origin`.
    void draw(QPainter& painter, const QPointF& origin, const QString& text, const QColor& colour) const;

private:
    struct Glyph {
        quint32 index;  ///< 0 when Qt is to draw the text that has it
        double offset;  ///< from the left end of its cell
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
