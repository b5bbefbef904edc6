// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Popover/PanelPart.h"

#include <QList>
#include <QString>
#include <optional>

namespace kestrum {

/// A row of a list: a name at the leading edge and numbers in columns of fixed width at the trailing edge. In a narrow panel,
/// the name is shortened, never a number. Without a name, the row is blank but has its height.
struct ColumnRow {
    struct Column {
        QString text;
        double width = 0; ///< in points
        bool isSecondary = false;
        /// Of the text, deepened until it is readable; nothing for the usual colour.
        std::optional<QColor> colour = std::nullopt;
        bool operator==(const Column&) const = default;
    };
    QString name;
    QList<Column> columns = {};
    QString spoken = {};                         ///< the whole row as a screen reader says it
    std::optional<QColor> colour = std::nullopt; ///< colour of a dot before the name; nothing for no dot
    bool isNameSecondary = false;
    double indent = 0; ///< of the name, in points
    PanelAction action = {};
    bool isRanked = false; ///< whether the row changes its place with its numbers

    double height(const PanelEnvironment& environment) const;
    void draw(QPainter& painter, const QRectF& rect, const PanelEnvironment& environment) const;
    QList<PanelElement> describe(const QRectF& rect, const PanelEnvironment& environment) const;
    /// See `PointedPart`.
    qsizetype pointedPlace(const QRectF& rect, const PanelEnvironment& environment) const;
    bool operator==(const ColumnRow&) const = default;
};

} // namespace kestrum
