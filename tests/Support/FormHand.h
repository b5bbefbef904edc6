#pragma once

#include "Kestrum/Form/PopupPicker.h"
#include "Kestrum/Form/SegmentedPicker.h"
#include "KestrumShared/Settings/SharedSettings.h"

#include <QAbstractButton>
#include <QAbstractItemView>
#include <QTest>

namespace kestrum {

/// Uses the controls of a page as people do, and reads what they show.
namespace FormHand {

inline QStringList titles(const SegmentedPicker& picker)
{
    QStringList titles;
    for (const auto* segment : picker.findChildren<QAbstractButton*>())
        titles.append(segment->text());
    return titles;
}

/// The titles of a picker's entries, "-" for a divider.
inline QStringList titles(const PopupPicker& picker)
{
    QStringList titles;
    for (int row = 0; row < picker.count(); ++row) {
        const bool isDivider = picker.itemData(row, Qt::AccessibleDescriptionRole).toString()
            == QLatin1StringView("separator");
        titles.append(isDivider ? QStringLiteral("-") : picker.itemText(row));
    }
    return titles;
}

inline void choose(SegmentedPicker& picker, int index)
{
    picker.findChildren<QAbstractButton*>().at(index)->click();
}

/// Chooses an entry from the picker's list by the keyboard.
inline void choose(PopupPicker& picker, int index)
{
    picker.showPopup();
    QTest::keyClick(picker.view(), Qt::Key_Home);
    for (int i = 0; i < index; ++i)
        QTest::keyClick(picker.view(), Qt::Key_Down);
    QTest::keyClick(picker.view(), Qt::Key_Return);
}

/// Stores a value as another program does, by opening the suite anew.
inline void storeElsewhere(const char* key, const QJsonValue& value)
{
    QVERIFY(UserDefaults::withSuiteName(SharedSettings::suiteName())->set(key, value));
}

} // namespace FormHand
} // namespace kestrum
