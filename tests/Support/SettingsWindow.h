#pragma once

#include "Kestrum/Form/PopupPicker.h"
#include "Kestrum/Form/SegmentedPicker.h"
#include "Kestrum/Window/SaveNotice.h"
#include "Kestrum/Window/SettingsView.h"
#include "Kestrum/Window/Sidebar.h"
#include "KestrumShared/Settings/Setting.h"
#include "Platform/Bundle/Bundle.h"
#include "tests/Support/FreshSettings.h"
#include "tests/Support/Widgets.h"

#include <QAbstractButton>
#include <QAbstractItemView>
#include <QMouseEvent>
#include <QSplitter>

namespace kestrum {

/// The settings window with its parts, shown and active.
struct SettingsWindow {
    SettingsView view;

    /// Prepares the process as the program does before it opens its window: the built bundle, the style and the defaults.
    static void prepareProgram()
    {
        QApplication::setStyle(QStringLiteral("fusion"));
        Bundle::setMain(Bundle(qEnvironmentVariable("KESTRUM_BUILD") + QStringLiteral("/Kestrum.app")));
        registerFactoryDefaults();
    }
    /// The state before every test: nothing is stored.
    static void prepare()
    {
        forgetSettings();
        QTest::qWait(20); // until the notice of this change has arrived
    }

    SettingsWindow()
    {
        view.resize(640, 520);
        activate(view);
        QTest::qWait(10); // let the probe run
    }
    Sidebar& sidebar() { return *view.findChild<Sidebar*>(); }
    QSplitter& split() { return *view.findChild<QSplitter*>(); }
    SaveNotice& notice() { return *view.findChild<SaveNotice*>(); }
    int sidebarWidth() { return split().sizes().first(); }
    /// The title of the page that the sidebar shows as selected.
    QString selected() { return sidebar().currentIndex().data().toString(); }
    /// A row of the sidebar, in the coordinates of its viewport.
    QRect row(int number) { return sidebar().visualRect(sidebar().model()->index(number, 0)); }
    QRect selectedRow() { return sidebar().visualRect(sidebar().currentIndex()); }
    /// The rectangle of a part, in the window's coordinates.
    QRect place(const QWidget& part) const { return { part.mapTo(&view, QPoint(0, 0)), part.size() }; }
    /// Stores a language as the user's choice.
    static void speak(const char* language) { Setting { Keys::language }.set(QString::fromLatin1(language)); }

    void dragDividerTo(int x)
    {
        QSplitterHandle* divider = split().handle(1);
        const QPoint grabbed = divider->rect().center();
        QTest::mousePress(divider, Qt::LeftButton, {}, grabbed);
        const QPoint target = divider->mapFrom(&view, QPoint(x, 100));
        QMouseEvent move(QEvent::MouseMove, target, divider->mapToGlobal(target), Qt::NoButton,
            Qt::LeftButton, Qt::NoModifier);
        QApplication::sendEvent(divider, &move);
        QTest::mouseRelease(divider, Qt::LeftButton, {}, divider->rect().center());
    }
};

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

/// Stores a value as another program does, through a newly opened suite.
inline void storeElsewhere(const char* key, const QJsonValue& value)
{
    QVERIFY(UserDefaults::withSuiteName(SharedSettings::suiteName())->set(key, value));
}

/// The value that is stored for a key, without its default; undefined when there is none.
inline QJsonValue stored(QAnyStringView key)
{
    return SharedSettings::store().storedDictionary().value(key.toString());
}

} // namespace FormHand
} // namespace kestrum
