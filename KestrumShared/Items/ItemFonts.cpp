// SPDX-License-Identifier: MIT
#include "KestrumShared/Items/ItemFonts.h"

#include <QFontMetricsF>
#include <QGuiApplication>
#include <memory>

namespace kestrum {
namespace {

constexpr int readoutPixels = 11;
constexpr int enlargedLetterPixels = 62;

QFont ofFamily(const QFont& base, int pixels, QFont::Weight weight)
{
    QFont font(base.families());
    font.setPixelSize(pixels);
    font.setWeight(weight);
    return font;
}

} // namespace

const ItemFonts& ItemFonts::current()
{
    static std::unique_ptr<const ItemFonts> fonts;
    static int generation = 0;
    const QFont base = QGuiApplication::font();
    if (!fonts || fonts->m_base != base)
        fonts.reset(new ItemFonts(base, ++generation));
    return *fonts;
}

ItemFonts::ItemFonts(const QFont& base, int generation)
    : m_base(base)
    , m_readout(ofFamily(base, readoutPixels, QFont::Medium))
    , m_letters(ofFamily(base, enlargedLetterPixels, QFont::DemiBold))
    , m_generation(generation)
{
}

// Computed only when needed, because measuring loads the font, and only items with letters use this font.
double ItemFonts::letterHeight() const
{
    return QFontMetricsF(m_letters).height() * letterScale;
}

} // namespace kestrum
