#pragma once

#include <QApplication>
#include <QColorDialog>
#include <QMouseEvent>
#include <QTest>

namespace kestrum {

/// Uses the toolkit's colour dialog as people do.
namespace ColourDialogHand {

/// The dialog's hue field. A drag in it counts as a person's choice. Null when there is none.
inline QWidget* field(const QColorDialog& dialog)
{
    for (auto* part : dialog.findChildren<QWidget*>()) {
        // Since Qt 6.5 the class is in a namespace.
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
