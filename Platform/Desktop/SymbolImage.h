// SPDX-License-Identifier: MIT
#pragma once

#include <QColor>
#include <QImage>
#include <QSizeF>
#include <QString>

namespace kestrum {

/// Our own symbols, drawn from vectors at any size and tinted on use. Their names ("macwindow", "internaldrive" …) are
/// those by which every part of the window and the panel asks for a picture, and the names of the files.
namespace SymbolImage {

/// Size in points of the symbol at `pointSize`; empty (0 × 0) for an unknown name.
QSizeF size(const QString& name, double pointSize);

/// The symbol in `colour`, of `size × scale` pixels rounded up, with that device pixel ratio. A null image for an unknown
/// name. Not cached: callers that draw often cache it.
QImage image(const QString& name, double pointSize, const QColor& colour, double scale);

} // namespace SymbolImage
} // namespace kestrum
