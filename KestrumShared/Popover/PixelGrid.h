// SPDX-License-Identifier: MIT
#pragma once

#include <QPainter>
#include <QRectF>

namespace kestrum {

/// The pixel grid of a painter's device, at any scale.
namespace PixelGrid {

/// `rect` with its edges moved to the nearest pixel edges; at least one pixel wide and high.
QRectF aligned(const QRectF& rect, const QPainter& painter);

} // namespace PixelGrid
} // namespace kestrum
