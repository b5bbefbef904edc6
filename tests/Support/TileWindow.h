#pragma once

#include "Kestrum/Form/FocusRing.h"
#include "Kestrum/Popovers/ChoiceTileRow.h"
#include "tests/Support/Widgets.h"

#include <QPainter>

namespace kestrum {

/// A row of tiles with red pictures that are too large for them, in an active window with a white ground.
struct TileWindow {
    QWidget window;
    ChoiceTileRow row { QStringLiteral("Appearance"), &window };

    explicit TileWindow(const QStringList& titles, int width = 420)
    {
        window.setPalette(QPalette(Qt::black, Qt::white));
        for (const QString& title : titles)
            row.addTile(title, [](QPainter& painter, const QPointF& topLeft) {
                painter.fillRect(QRectF(topLeft - QPointF(50, 50), QSizeF(300, 300)), Qt::red);
            });
        window.resize(800, 500);
        resize(width);
        activate(window);
        if (QWidget* focused = window.focusWidget())
            focused->clearFocus();
    }

    void resize(int width) { row.setGeometry(20, 20, width, row.heightForWidth(width)); }

    ChoiceTile& tile(int index) const { return *row.tiles()[index]; }
    FocusRing* ring() const { return row.findChild<FocusRing*>(); }
};

} // namespace kestrum
