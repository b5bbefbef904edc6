#pragma once

#include "Kestrum/Form/PickerList.h"
#include "Kestrum/Form/PopupPicker.h"
#include "tests/Support/ControlWindow.h"

#include <QSignalSpy>

namespace kestrum {

/// The titles of the first entries, which share the picture if there is one. A divider and "Custom" follow.
inline const QStringList titles { QStringLiteral("None"), QStringLiteral("Usage"),
    QStringLiteral("Temperature"), QStringLiteral("Power") };

inline PopupPicker* pickerOf(int index, const QIcon& picture = {})
{
    auto* picker = new PopupPicker;
    for (const QString& title : titles)
        picker->addEntry(title, picture);
    picker->addDivider();
    picker->addEntry(QStringLiteral("Custom"));
    picker->setIndex(index);
    return picker;
}

/// A picker with four entries, a divider and one more entry, in an active window.
struct PickerFixture {
    PopupPicker* picker;
    QSignalSpy choices;
    ControlWindow window;

    explicit PickerFixture(
        int index = 0, Qt::LayoutDirection direction = Qt::LeftToRight, const QIcon& picture = {})
        : picker(pickerOf(index, picture))
        , choices(picker, &PopupPicker::chosen)
        , window({ picker }, direction)
    {
        picker->setFocus();
    }

    void press(int key, Qt::KeyboardModifiers modifiers = {}) const
    {
        QTest::keyClick(picker, Qt::Key(key), modifiers);
    }
    int lastChoice() const { return choices.isEmpty() ? -1 : choices.last().first().toInt(); }

    /// Opens the list.
    PickerList* opened() const
    {
        QTest::mouseClick(picker, Qt::LeftButton);
        auto* list = qobject_cast<PickerList*>(picker->view());
        if (!list || !QTest::qWaitForWindowExposed(list->window()))
            return nullptr;
        QTest::qWait(QApplication::doubleClickInterval()); // or the next click makes a double click
        return list;
    }
    QRect entry(int row) const { return picker->view()->visualRect(picker->model()->index(row, 0)); }
    /// Whether a row has ink before its title.
    bool hasTick(const QImage& list, int row) const
    {
        const QRect place = entry(row).translated(
            picker->view()->viewport()->mapTo(picker->view()->window(), QPoint(0, 0)));
        const bool isFromTheRight = picker->isRightToLeft();
        for (int x = 8; x < 26; ++x) {
            const int column = isFromTheRight ? place.right() - x : place.left() + x;
            for (int y = place.top() + 5; y < place.bottom() - 5; ++y) {
                if (QColor(list.pixel(column, y)).lightness() < 128)
                    return true;
            }
        }
        return false;
    }
};

/// A red picture. `pixelsOf` counts the pixels of a colour in an image.
inline QIcon red()
{
    QPixmap picture(12, 12);
    picture.fill(Qt::red);
    return picture;
}

inline int pixelsOf(const QImage& image, QRgb colour)
{
    int count = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x)
            count += image.pixel(x, y) == colour ? 1 : 0;
    }
    return count;
}

} // namespace kestrum
