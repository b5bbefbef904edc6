// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Popover/PanelElement.h"
#include "KestrumShared/Popover/PanelEnvironment.h"

#include <QMarginsF>
#include <QPainter>
#include <concepts>
#include <memory>
#include <optional>
#include <utility>

namespace kestrum {

/// The interface of a panel's part. `height` returns the part's height in points. `draw` draws the part into a rectangle of
/// this height and any width, and may change only the pen, brush, font and layout direction of the painter. Parts are not
/// widgets, because miniatures and popovers draw the same parts.
template <class T>
concept DrawnPart
    = requires(const T& part, QPainter& painter, const QRectF& rect, const PanelEnvironment& environment)
{
    {
        part.height(environment)
        } -> std::convertible_to<double>;
    part.draw(painter, rect, environment);
};

/// The interface of a part with contents that can be told in words. `describe` returns the part's elements from top to
/// bottom, when the part is drawn into `rect`.
template <class T>
concept DescribedPart = requires(const T& part, const QRectF& rect, const PanelEnvironment& environment)
{
    {
        part.describe(rect, environment)
        } -> std::convertible_to<QList<PanelElement>>;
};

/// The interface of a part that looks different where the pointer is. `pointedPlace` returns the number of the place that the
/// pointer is at, and -1 for none. While the number stays the same, so does the part's look.
template <class T>
concept PointedPart = requires(const T& part, const QRectF& rect, const PanelEnvironment& environment)
{
    {
        part.pointedPlace(rect, environment)
        } -> std::convertible_to<qsizetype>;
};

/// The pointer's place at an earlier drawing.
using PanelPointer = std::optional<QPointF>;

/// Holds any part of a panel. Copies share the part, which never changes.
class PanelPart {
public:
    template <DrawnPart T>
    requires(!std::same_as<T, PanelPart>) PanelPart(T part) // NOLINT: any part converts implicitly
        : m_part(std::make_shared<const Held<T>>(std::move(part)))
    {
    }

    double height(const PanelEnvironment& environment) const { return m_part->height(environment); }
    void draw(QPainter& painter, const QRectF& rect, const PanelEnvironment& environment) const
    {
        m_part->draw(painter, rect, environment);
    }
    /// The part's elements; none for a part that only decorates.
    QList<PanelElement> describe(const QRectF& rect, const PanelEnvironment& environment) const
    {
        return m_part->describe(rect, environment);
    }

    /// The rectangles that look different when this part is drawn into `rect` instead of `before`, which was drawn with the
    /// pointer at `pointerBefore`. Parts that hold others ask these, as long as none changes its height. A part that cannot be
    /// compared always looks different.
    QList<QRectF> changes(const PanelPart& before, const QRectF& rect, const PanelEnvironment& environment,
        const PanelPointer& pointerBefore) const
    {
        return m_part == before.m_part && pointerBefore == environment.pointer
            ? QList<QRectF>()
            : m_part->changes(*before.m_part, rect, environment, pointerBefore);
    }

private:
    struct Part {
        Part() = default;
        Part(const Part&) = delete;
        Part& operator=(const Part&) = delete;
        virtual ~Part() = default;
        virtual double height(const PanelEnvironment& environment) const = 0;
        virtual void draw(
            QPainter& painter, const QRectF& rect, const PanelEnvironment& environment) const = 0;
        virtual QList<PanelElement> describe(
            const QRectF& rect, const PanelEnvironment& environment) const = 0;
        virtual QList<QRectF> changes(const Part& before, const QRectF& rect,
            const PanelEnvironment& environment, const PanelPointer& pointerBefore) const = 0;
    };

    template <class T> struct Held final : Part {
        explicit Held(T held)
            : part(std::move(held))
        {
        }
        double height(const PanelEnvironment& environment) const override { return part.height(environment); }
        void draw(QPainter& painter, const QRectF& rect, const PanelEnvironment& environment) const override
        {
            part.draw(painter, rect, environment);
        }
        QList<PanelElement> describe(const QRectF& rect, const PanelEnvironment& environment) const override
        {
            if constexpr (DescribedPart<T>)
                return part.describe(rect, environment);
            else
                return {};
        }
        QList<QRectF> changes(const Part& before, const QRectF& rect, const PanelEnvironment& environment,
            const PanelPointer& pointerBefore) const override
        {
            // Plates and rings stand out of a part.
            constexpr QMarginsF margins(6, 4, 6, 4);
            const auto* old = dynamic_cast<const Held*>(&before);
            if (!old)
                return { rect + margins };
            if constexpr (requires { part.changes(old->part, rect, environment, pointerBefore); }) {
                return part.changes(old->part, rect, environment, pointerBefore);
            } else if constexpr (std::equality_comparable<T>) {
                bool isSame = part == old->part;
                if constexpr (PointedPart<T>) {
                    PanelEnvironment then = environment;
                    then.pointer = pointerBefore;
                    isSame = isSame && part.pointedPlace(rect, environment) == part.pointedPlace(rect, then);
                }
                return isSame ? QList<QRectF>() : QList<QRectF> { rect + margins };
            } else {
                return { rect + margins };
            }
        }
        T part;
    };

    std::shared_ptr<const Part> m_part;
};

} // namespace kestrum
