#pragma once

#include "Kestrum/Form/PickerList.h"
#include "Kestrum/Form/PopupPicker.h"
#include "tests/Support/ControlWindow.h"

#include <QSignalSpy>

namespace kestrum {

/// The titles of the first entries. A picture, if given, belongs to all of them. A divider and "Custom" follow.
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
    QImage field() const { return picker->grab().toImage(); }

    /// Opens the list.
    PickerList* opened() const
    {
        QTest::mouseClick(picker, Qt::LeftButton);
        auto* list = qobject_cast<PickerList*>(picker->view());
        if (!list || !QTest::qWaitForWindowExposed(list->window()))
            return nullptr;
        QTest::qWait(QApplication::doubleClickInterval()); // otherwise the next click would be a double click
        return list;
    }
    QRect entry(int row) const { return picker->view()->visualRect(picker->model()->index(row, 0)); }
    /// The rectangle of a row in the list's window.
    QRect entryInWindow(int row) const
    {
        const QAbstractItemView& list = *picker->view();
        return entry(row).translated(list.viewport()->mapTo(list.window(), QPoint(0, 0)));
    }
    /// Whether a row in this picture of a list has ink before its title.
    bool hasTick(const QImage& list, int row) const
    {
        const QRect place = entryInWindow(row);
        const int left = picker->isRightToLeft() ? place.right() - 25 : place.left() + 8;
        const QImage room = list.copy(left, place.top() + 5, 18, place.height() - 11);
        return pixelsThat(room, [](QRgb pixel) { return QColor(pixel).lightness() < 128; }).count > 0;
    }
};

inline QIcon red()
{
    QPixmap picture(12, 12);
    picture.fill(Qt::red);
    return picture;
}

} // namespace kestrum
