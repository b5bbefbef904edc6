#pragma once

#include <QApplication>
#include <QColorDialog>
#include <QMouseEvent>
#include <QTest>

namespace kestrum {

/// Works the toolkit's colour dialog as people do.
namespace ColourDialogHand {

/// The part of the dialog that is the field of hues: what a drag in it moves is told as people's own. Null where there is none.
inline QWidget* field(const QColorDialog& dialog)
{
    for (auto* part : dialog.findChildren<QWidget*>()) {
        // Since Qt 6.5 within a name space.
        if (QByteArrayView(part->metaObject()->className()).endsWith("QColorPicker"))
            return part;
    }
    return nullptr;
}

/// Moves the pointer over the field with its button held down.
inline void drag(QWidget* field, QPoint to)
{
    QMouseEvent move(QEvent::MouseMove, to, field->mapToGlobal(to), Qt::NoButton, Qt::LeftButton, {});
    QApplication::sendEvent(field, &move);
}

} // namespace ColourDialogHand
} // namespace kestrum
