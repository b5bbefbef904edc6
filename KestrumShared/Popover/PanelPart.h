// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Popover/PanelEnvironment.h"

#include <QPainter>
#include <concepts>
#include <functional>
#include <memory>
#include <utility>

namespace kestrum {

/// The interface of a panel's part. `height` gives its height, and `draw` draws it into a rectangle of that height and any
/// width, all in points. `draw` may change only the pen, brush and font of the painter. Parts are not widgets, because
/// miniatures and popovers draw the same parts.
template <class T>
concept DrawnPart
    = requires(const T& part, QPainter& painter, const QRectF& rect, const PanelEnvironment& environment)
{
    {
        part.height(environment)
        } -> std::convertible_to<double>;
    part.draw(painter, rect, environment);
};

/// Holds any part of a panel. Copies share the part, which never changes.
struct PanelPart {
    template <DrawnPart T>
    requires(!std::same_as<T, PanelPart>) PanelPart(T part) // NOLINT: any part converts implicitly
    {
        const auto held = std::make_shared<const T>(std::move(part));
        height = std::bind_front(&T::height, held);
        draw = std::bind_front(&T::draw, held);
    }

    std::function<double(const PanelEnvironment&)> height;
    std::function<void(QPainter&, const QRectF&, const PanelEnvironment&)> draw;
};

} // namespace kestrum
