// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Raster/MonospacedDigits.h"

#include <QFont>

namespace kestrum {

/// The two fonts of menu-bar items, of the application's font family. Main thread only.
class ItemFonts {
public:
    /// Made at first use and whenever the application's font has become another.
    static const ItemFonts& current();

    /// 11 pixels, medium.
    const MonospacedDigits& readout() const { return m_readout; }

    /// The semibold font of the letters, larger than they are: Qt knows whole pixel sizes only. It is to be
    /// drawn, and its measures are to be taken, at `letterScale`, which makes it 6.2 pixels.
    const QFont& letters() const { return m_letters; }
    static constexpr double letterScale = 0.1;
    double letterHeight() const;

    /// Another number for each font of the application, for what is kept of texts.
    int generation() const { return m_generation; }

private:
    ItemFonts(const QFont& base, int generation);

    QFont m_base;
    MonospacedDigits m_readout;
    QFont m_letters;
    int m_generation;
};

} // namespace kestrum
