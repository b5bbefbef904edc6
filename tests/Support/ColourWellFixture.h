#pragma once

#include "Kestrum/Form/ColourWell.h"
#include "tests/Support/ControlWindow.h"

#include <QColorDialog>
#include <QPointer>
#include <QSignalSpy>

namespace kestrum {

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
    QPointer<QColorDialog> opened() const
    {
        QTest::mouseClick(well, Qt::LeftButton);
        const QPointer<QColorDialog> dialog = this->dialog();
        return dialog && QTest::qWaitForWindowExposed(dialog) ? dialog : nullptr;
    }
    QColor lastPick() const { return picks.isEmpty() ? QColor() : picks.last().first().value<QColor>(); }
};

} // namespace kestrum
