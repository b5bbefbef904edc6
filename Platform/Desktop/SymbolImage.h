// SPDX-License-Identifier: MIT
#pragma once

#include <QColor>
#include <QImage>
#include <QSizeF>
#include <QString>

namespace kestrum {

/// Our own symbols: vector drawings that are drawn at any size and in any colour. The name of a symbol ("macwindow",
/// "internaldrive" …) is the name of its file. The window and the panel use these names everywhere.
namespace SymbolImage {

/// Size in points of the symbol at `pointSize`; empty (0 × 0) for an unknown name.
QSizeF size(const QString& name, double pointSize);

/// The symbol in `colour`, `size` × `scale` pixels rounded up, with the device pixel ratio `scale`. A null image for an
/// unknown name. The image is not cached here; callers that draw often cache it.
QImage image(const QString& name, double pointSize, const QColor& colour, double scale);

} // namespace SymbolImage
} // namespace kestrum
