#pragma once

#include <QObject>
#include <QPaintEvent>
#include <QRegion>

namespace kestrum {

/// An event filter that collects the painted regions of a widget.
struct PaintWatcher : QObject {
    QRegion painted;
    bool eventFilter(QObject* watched, QEvent* event) override
    {
        if (event->type() == QEvent::Paint)
            painted += static_cast<QPaintEvent*>(event)->region();
        return QObject::eventFilter(watched, event);
    }
};

} // namespace kestrum
