// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Raster/MonospacedDigits.h"

#include <QFont>

namespace kestrum {

/// The two fonts of menu-bar items, from the application's font family. Main thread only.
class ItemFonts {
public:
    /// The fonts are created at first use, and again whenever the application's font changes.
    static const ItemFonts& current();

    /// The font of the readouts: 11 pixels, medium weight.
    const MonospacedDigits& readout() const { return m_readout; }

    /// The semibold font of the letters, in ten times the displayed size, because Qt's pixel sizes are integers. Texts must
    /// be drawn and measured with the scale `letterScale`, so that the displayed size is 6.2 pixels.
    const QFont& letters() const { return m_letters; }
    static constexpr double letterScale = 0.1;
    double letterHeight() const;

    /// A number that changes whenever the application's font changes. It is used in the keys of cached pictures.
    int generation() const { return m_generation; }

private:
    ItemFonts(const QFont& base, int generation);

    QFont m_base;
    MonospacedDigits m_readout;
    QFont m_letters;
    int m_generation;
};

} // namespace kestrum
