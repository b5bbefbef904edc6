// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Popover/PanelPart.h"

#include <QPainter>
#include <QString>
#include <optional>

namespace kestrum {

/// A row of a panel: a title at the leading edge and a value at the trailing edge. In a narrow panel, the title is
/// shortened, never the value.
struct ValueRow {
    static constexpr double spacing = 6; ///< least distance between title and value, in points

    QString title;
    QString value;
    std::optional<QColor> colour = std::nullopt; ///< colour of a dot before the title; nothing for no dot

    double height(const PanelEnvironment& environment) const;
    void draw(QPainter& painter, const QRectF& rect, const PanelEnvironment& environment) const;
    QList<PanelElement> describe(const QRectF& rect, const PanelEnvironment& environment) const;
    bool operator==(const ValueRow&) const = default;
};

} // namespace kestrum
