#pragma once

#include "Kestrum/Form/ColourWell.h"
#include "tests/Support/ControlWindow.h"

#include <QColorDialog>
#include <QMouseEvent>
#include <QPointer>
#include <QSignalSpy>

namespace kestrum {

/// Uses the toolkit's colour dialog as people do.
namespace ColourDialogHand {

/// The dialog's hue field; null when there is none. A drag in the field counts as a person's choice.
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

/// Clicks on a well. Returns the dialog that opens, or null.
inline QPointer<QColorDialog> open(ColourWell& well)
{
    QTest::mouseClick(&well, Qt::LeftButton);
    const QPointer<QColorDialog> dialog = well.findChild<QColorDialog*>();
    return dialog && QTest::qWaitForWindowExposed(dialog) ? dialog : nullptr;
}

} // namespace ColourDialogHand

/// A well on a page of a window.
struct ColourWellFixture {
    static inline const QColor violet { 0x6B, 0x6B, 0xF2 };
    static inline const QString name = QStringLiteral("Colour custom colour");

    QPointer<QWidget> page = new QWidget;
    QPointer<ColourWell> well = new ColourWell(page);
    QSignalSpy picks { well, &ColourWell::picked };
    ControlWindow window { page };

    ColourWellFixture()
    {
        page->setFixedSize(200, 100);
        well->move(50, 50);
        well->setAccessibleName(name);
        well->setDialogTitle(QStringLiteral("CPU colour"));
        well->setColour(violet);
        page->show();
    }

    QPointer<QColorDialog> dialog() const { return well ? well->findChild<QColorDialog*>() : nullptr; }
    QPointer<QColorDialog> opened() const { return ColourDialogHand::open(*well); }
    QColor lastPick() const { return picks.isEmpty() ? QColor() : picks.last().first().value<QColor>(); }
    QColor shown() const { return well->grab().toImage().pixelColor(22, 12); }
};

} // namespace kestrum
