// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Popover/PanelEnvironment.h"

#include <QPainter>
#include <QString>

namespace kestrum {

/// The first line of a panel: a symbol and a title.
struct CompactHeader {
    QString title;
    QString icon; ///< name of a symbol; nothing is drawn for an unknown name

    double height(const PanelEnvironment& environment) const;
    void draw(QPainter& painter, const QRectF& rect, const PanelEnvironment& environment) const;
    bool operator==(const CompactHeader&) const = default;
};

} // namespace kestrum
