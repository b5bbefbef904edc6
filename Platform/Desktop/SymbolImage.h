// SPDX-License-Identifier: MIT
#pragma once

#include <QColor>
#include <QImage>
#include <QSizeF>
#include <QString>

namespace kestrum {

/// Draws the program's own vector symbols at any size and in any colour. The name of a symbol ("macwindow",
/// "internaldrive" …) is the name of its file. The window and the panel use these names everywhere.
namespace SymbolImage {

/// The size of the symbol in points at the font size `pointSize`; 0 × 0 for an unknown name.
QSizeF size(const QString& name, double pointSize);

/// The symbol in `colour`, with the device pixel ratio `scale`. The image has `size` × `scale` pixels, rounded up; it is
/// null for an unknown name. Images are not cached here, so callers that draw often should cache them.
QImage image(const QString& name, double pointSize, const QColor& colour, double scale);

} // namespace SymbolImage
} // namespace kestrum
