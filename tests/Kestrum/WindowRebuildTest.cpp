// What stays the same when the whole content of the window is built anew.

#include "Kestrum/Form/FormPage.h"
#include "Kestrum/Form/PopupPicker.h"
#include "Kestrum/Form/SegmentedPicker.h"
#include "Kestrum/MenuBar/MenuBarStripView.h"
#include "KestrumShared/Settings/Setting.h"
#include "tests/Support/SettingsWindow.h"
#include "tests/Support/TestHome.h"

#include <QRadioButton>
#include <QScrollBar>

using namespace kestrum;

class WindowRebuildTest : public QObject {
    Q_OBJECT

    static QScrollBar& bar(SettingsWindow& w) { return *w.view.pageWidget()->verticalScrollBar(); }
    static QRect placeOf(SettingsWindow& w, const QWidget& part)
    {
        return { part.mapTo(&w.view, QPoint(0, 0)), part.size() };
    }
    /// Stores German as the language, as another program does, and waits for the rebuild.
    static void chooseGerman(SettingsWindow& w)
    {
        Setting { Keys::language }.set(QStringLiteral("de"));
        QTRY_COMPARE(w.view.locale().language(), QLocale::German);
    }

private Q_SLOTS:
    void initTestCase() { SettingsWindow::prepareProgram(); }
    void init() { SettingsWindow::prepare(); }

    void thePageStaysScrolledAsItWas_data()
    {
        QTest::addColumn<double>("share");
        QTest::newRow("top") << 0.0;
        QTest::newRow("middle") << 0.5;
        QTest::newRow("end") << 1.0;
    }

    void thePageStaysScrolledAsItWas()
    {
        QFETCH(double, share);
        SettingsWindow w;
        QVERIFY(bar(w).maximum() > 100);
        bar(w).setValue(int(bar(w).maximum() * share));
        const int scrolled = bar(w).value();
        chooseGerman(w);
        QCOMPARE(bar(w).value(), scrolled);
        QTest::qWait(50); // a later layout must not move it either
        QCOMPARE(bar(w).value(), scrolled);
    }

    void theKeyboardStaysAtItsControl_data()
    {
        QTest::addColumn<SettingsPage>("page");
        QTest::addColumn<QString>("name");
        QTest::newRow("a switch") << SettingsPage::menuBar << QStringLiteral("showMemoryItem");
        QTest::newRow("a picker") << SettingsPage::menuBar << QStringLiteral("storageAccent");
        QTest::newRow("the language") << SettingsPage::general << QStringLiteral("language");
    }

    void theKeyboardStaysAtItsControl()
    {
        QFETCH(SettingsPage, page);
        QFETCH(QString, name);
        SettingsWindow w;
        w.view.selectPage(page);
        QTest::qWait(10);
        auto* before = w.view.findChild<QWidget*>(name);
        before->setFocus(Qt::TabFocusReason);
        const int y = placeOf(w, *before).y();
        chooseGerman(w);
        auto* after = w.view.findChild<QWidget*>(name);
        QVERIFY(after && after->hasFocus());
        // The row is at the same height on the screen as before.
        QTRY_VERIFY(std::abs(placeOf(w, *after).y() - y) <= 2);
    }

    void theKeyboardStaysAtASegmentAndAtThePreview()
    {
        SettingsWindow w;
        w.view.findChild<SegmentedPicker*>()->findChild<QRadioButton*>()->setFocus(Qt::TabFocusReason);
        chooseGerman(w);
        QVERIFY(w.view.findChild<SegmentedPicker*>()->findChild<QRadioButton*>()->hasFocus());
        w.view.findChild<MenuBarStripView*>()->setFocus(Qt::TabFocusReason);
        Setting { Keys::language }.set(QStringLiteral("en"));
        QTRY_COMPARE(w.view.locale().language(), QLocale::English);
        QVERIFY(w.view.findChild<MenuBarStripView*>()->hasFocus());
    }

    // The list is a window with focus widgets of its own, which the new picker does not have.
    void theLanguageChosenFromItsListLeavesTheKeyboardAtThePicker()
    {
        SettingsWindow w;
        w.view.selectPage(SettingsPage::general);
        auto* picker = w.view.findChild<PopupPicker*>(QStringLiteral("language"));
        picker->setFocus(Qt::TabFocusReason);
        picker->showPopup();
        const int german = picker->findText(QStringLiteral("Deutsch"));
        QVERIFY(german > 0);
        while (picker->view()->currentIndex().row() != german)
            QTest::keyClick(picker->view(), Qt::Key_Down);
        QTest::keyClick(picker->view(), Qt::Key_Return);
        QTRY_COMPARE(w.view.locale().language(), QLocale::German);
        auto* after = w.view.findChild<PopupPicker*>(QStringLiteral("language"));
        // This platform makes no window active after a list has closed.
        QCOMPARE(w.view.focusWidget(), after);
        QCOMPARE(after->currentText(), QStringLiteral("Deutsch"));
    }
};

KESTRUM_TEST_MAIN(QApplication, WindowRebuildTest)
#include "WindowRebuildTest.moc"
