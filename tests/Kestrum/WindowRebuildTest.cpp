// The parts of the window's state that survive a rebuild of the whole content.

#include "Kestrum/MenuBar/MenuBarStripView.h"
#include "tests/Support/Rows.h"
#include "tests/Support/SettingsWindow.h"
#include "tests/Support/TestHome.h"

#include <QRadioButton>
#include <QScrollBar>

using namespace kestrum;

class WindowRebuildTest : public QObject {
    Q_OBJECT

    static QScrollBar& bar(SettingsWindow& w) { return *w.view.pageWidget()->verticalScrollBar(); }
    /// Stores German as the language and waits for the rebuild.
    static void chooseGerman(SettingsWindow& w)
    {
        SettingsWindow::speak("de");
        QTRY_COMPARE(w.view.locale().language(), QLocale::German);
    }

private Q_SLOTS:
    void initTestCase() { SettingsWindow::prepareProgram(); }
    void init() { SettingsWindow::prepare(); }

    void thePageStaysScrolledAsItWas_data()
    {
        addRows<double>({ { "top", 0 }, { "middle", 0.5 }, { "end", 1 } });
    }
    void thePageStaysScrolledAsItWas()
    {
        const auto [share] = thisRow<double>();
        SettingsWindow w;
        QVERIFY(bar(w).maximum() > 100);
        bar(w).setValue(int(bar(w).maximum() * share));
        const int scrolled = bar(w).value();
        chooseGerman(w);
        QCOMPARE(bar(w).value(), scrolled);
        QTest::qWait(50); // a later layout must not scroll the page either
        QCOMPARE(bar(w).value(), scrolled);
    }

    void theKeyboardStaysAtItsControl_data()
    {
        addRows<SettingsPage, QString>({ { "a switch", SettingsPage::menuBar, "showMemoryItem" },
            { "a picker", SettingsPage::menuBar, "storageAccent" },
            { "the language", SettingsPage::general, "language" } });
    }
    void theKeyboardStaysAtItsControl()
    {
        const auto [page, name] = thisRow<SettingsPage, QString>();
        SettingsWindow w;
        w.view.selectPage(page);
        settle();
        auto* before = w.view.findChild<QWidget*>(name);
        before->setFocus(Qt::TabFocusReason);
        const int y = w.place(*before).y();
        chooseGerman(w);
        auto* after = w.view.findChild<QWidget*>(name);
        QVERIFY(after && after->hasFocus());
        // The row is at the same height on the screen as before.
        QTRY_VERIFY(std::abs(w.place(*after).y() - y) <= 2);
    }

    void theKeyboardStaysAtASegmentAndAtThePreview()
    {
        SettingsWindow w;
        w.view.findChild<SegmentedPicker*>()->findChild<QRadioButton*>()->setFocus(Qt::TabFocusReason);
        chooseGerman(w);
        QVERIFY(w.view.findChild<SegmentedPicker*>()->findChild<QRadioButton*>()->hasFocus());
        w.view.findChild<MenuBarStripView*>()->setFocus(Qt::TabFocusReason);
        SettingsWindow::speak("en");
        QTRY_COMPARE(w.view.locale().language(), QLocale::English);
        QVERIFY(w.view.findChild<MenuBarStripView*>()->hasFocus());
    }

    // The open list is a window with its own focus widgets, which do not exist after the rebuild.
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
        // Check `focusWidget`: this platform makes no window active after a list has closed.
        QCOMPARE(w.view.focusWidget(), after);
        QCOMPARE(after->currentText(), QStringLiteral("Deutsch"));
    }
};

KESTRUM_TEST_MAIN(QApplication, WindowRebuildTest)
#include "WindowRebuildTest.moc"
