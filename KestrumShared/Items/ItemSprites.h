// SPDX-License-Identifier: MIT
#pragma once

#include <QColor>
#include <QImage>
#include <QString>

namespace kestrum {

/// Parts of menu-bar items that always look the same, cached as images. Main thread only.
namespace ItemSprites {

/// The symbol in `colour`, at `scale` pixels per point; a null image if the symbol has no picture.
QImage symbol(const QString& name, double pointSize, const QColor& colour, double scale);

} // namespace ItemSprites
} // namespace kestrum
