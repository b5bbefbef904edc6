#pragma once

#include "Kestrum/Form/ColourWell.h"
#include "Kestrum/Form/PushButton.h"
#include "Kestrum/MenuBar/AccentRow.h"
#include "tests/Support/SettingsWindow.h"

#include <QVBoxLayout>

namespace kestrum {

/// The accent row of the memory item in an active window.
struct AccentRowWindow {
    static constexpr int customIndex = 8; ///< index of the picker's last entry
    QWidget window;
    AccentRow* row = new AccentRow(QStringLiteral("Colour"), QStringLiteral("Memory"), Keys::memoryAccent);
    PopupPicker* picker = row->findChild<PopupPicker*>();
    ColourWell* well = row->findChild<ColourWell*>();

    explicit AccentRowWindow(Qt::LayoutDirection direction = Qt::LeftToRight)
    {
        window.setLayoutDirection(direction);
        auto* layout = new QVBoxLayout(&window);
        layout->setContentsMargins(0, 0, 0, 0);
        layout->addWidget(row);
        layout->addWidget(new PushButton(QStringLiteral("The next control")));
        layout->addStretch(1);
        window.resize(400, 100);
        activate(window);
    }

    /// Simulates a pointer movement in the colour dialog that picks `colour`.
    void move(const QColor& colour) const { Q_EMIT well->picked(colour); }
    void choose(int index) const { FormHand::choose(*picker, index); }
    /// A pixel of the swatch of the entry "Custom".
    QRgb customSwatch() const
    {
        return picker->itemIcon(customIndex + 1).pixmap(QSize(12, 12), 1).toImage().pixel(6, 6);
    }

    static QString stored() { return storedText("memoryAccent"); }
    static void store(const char* accent)
    {
        SharedSettings::store().set("memoryAccent", QString::fromLatin1(accent));
        QTest::qWait(20); // until the notice of this change has arrived
    }
    static void storeElsewhere(const char* accent)
    {
        FormHand::storeElsewhere("memoryAccent", QString::fromLatin1(accent));
    }
};

} // namespace kestrum
