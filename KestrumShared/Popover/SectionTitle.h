// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Popover/PanelPart.h"

#include <QList>
#include <QString>

namespace kestrum {

/// The title of a section, with a text or heads of columns at the trailing end.
struct SectionTitle {
    /// The head of a column that is `width` points wide, or as wide as its text with a width of 0.
    struct Head {
        QString text;
        double width = 0;
        PanelAction action = {};
        QString tip = {};
        bool operator==(const Head&) const = default;
    };
    QString title;
    QList<Head> heads = {};
    /// What a press on the title does. With an action, an arrow stands behind the title, and `spoken` says what happens.
    PanelAction action = {};
    QString spoken = {};

    double height(const PanelEnvironment& environment) const;
    void draw(QPainter& painter, const QRectF& rect, const PanelEnvironment& environment) const;
    QList<PanelElement> describe(const QRectF& rect, const PanelEnvironment& environment) const;
    /// See `PointedPart`.
    qsizetype pointedPlace(const QRectF& rect, const PanelEnvironment& environment) const;
    bool operator==(const SectionTitle&) const = default;
};

} // namespace kestrum
