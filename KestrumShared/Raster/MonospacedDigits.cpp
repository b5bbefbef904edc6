// SPDX-License-Identifier: MIT
#include "KestrumShared/Raster/MonospacedDigits.h"

#include <QFontMetricsF>
#include <QGlyphRun>
#include <algorithm>

namespace kestrum {
namespace {

constexpr QStringView digits = u"0123456789";

/// Whether a character looks the same everywhere in a left-to-right text, and does not change the text's direction.
bool standsAlone(QChar character)
{
    return character.direction() != QChar::DirR && character.direction() != QChar::DirAL
        && character.direction() != QChar::DirAN && character.joiningType() != QChar::Joining_Transparent;
}

} // namespace

MonospacedDigits::MonospacedDigits(const QFont& font)
    : m_font(font)
    , m_rawFont(QRawFont::fromFont(font))
{
    const QFontMetricsF metrics(font);
    m_ascent = metrics.ascent();
    m_descent = metrics.descent();
    const auto indexes = m_rawFont.glyphIndexesForString(digits.toString());
    for (const QPointF& advance : m_rawFont.advancesForGlyphIndexes(indexes))
        m_digitAdvance = std::max(m_digitAdvance, advance.x());
}

const MonospacedDigits::Glyph& MonospacedDigits::glyph(QChar character) const
{
    const auto kept = m_glyphs.constFind(character);
    if (kept != m_glyphs.constEnd())
        return *kept;
    Glyph glyph {};
    const auto indexes = m_rawFont.glyphIndexesForString(QString(character));
    if (indexes.size() == 1 && indexes.first() != 0 && standsAlone(character)) {
        const double own = m_rawFont.advancesForGlyphIndexes(indexes).constFirst().x();
        glyph.index = indexes.first();
        glyph.advance = digits.contains(character) ? m_digitAdvance : own;
        glyph.offset = (glyph.advance - own) / 2;
    }
    return *m_glyphs.insert(character, glyph);
}

double MonospacedDigits::width(const QString& text) const
{
    double width = 0;
    for (const QChar character : text) {
        const Glyph& next = glyph(character);
        if (next.index == 0)
            return QFontMetricsF(m_font).horizontalAdvance(text);
        width += next.advance;
    }
    return width;
}

void MonospacedDigits::draw(
    QPainter& painter, const QPointF& origin, const QString& text, const QColor& colour) const
{
    painter.setPen(colour);
    QList<quint32> indexes;
    QList<QPointF> positions;
    indexes.reserve(text.size());
    positions.reserve(text.size());
    double x = 0;
    for (const QChar character : text) {
        const Glyph& next = glyph(character);
        if (next.index == 0) {
            // Qt draws the whole text: it arranges right-to-left letters, and takes missing characters from other fonts.
            painter.setFont(m_font);
            painter.drawText(origin, text);
            return;
        }
        indexes.append(next.index);
        positions.append(QPointF(x + next.offset, 0));
        x += next.advance;
    }
    QGlyphRun run;
    run.setRawFont(m_rawFont);
    run.setGlyphIndexes(indexes);
    run.setPositions(positions);
    painter.drawGlyphRun(origin, run);
}

} // namespace kestrum
