#include "Kestrum/Form/FormPage.h"

#include "Kestrum/Form/PushButton.h"
#include "Kestrum/Form/WrappedLabel.h"
#include "Kestrum/General/GeneralPage.h"
#include "Kestrum/MenuBar/MenuBarPage.h"
#include "tests/Support/FormHand.h"
#include "tests/Support/SettingsWindow.h"
#include "tests/Support/TestHome.h"

#include <QLayout>
#include <QRadioButton>
#include <QScrollBar>

using namespace kestrum;

namespace {

template <class Picker> QSet<int> widths(const QWidget& page)
{
    QSet<int> widths;
    for (const auto* picker : page.template findChildren<Picker*>())
        widths.insert(picker->width());
    return widths;
}

/// Shows `page` at its size in a window that is 640 wide.
void show(QWidget& page)
{
    page.resize(436, 480);
    page.show();
    QVERIFY(QTest::qWaitForWindowExposed(&page));
}

/// A page of three sections with a button and a footnote each, in a window that is too low for the page.
struct FormPageFixture {
    QWidget window;
    FormPage* page = new FormPage(&window);
    QList<PushButton*> buttons;

    FormPageFixture()
    {
        page->setGeometry(0, 0, 300, 130);
        for (const char* name : { "First", "Second", "Third" }) {
            buttons.append(new PushButton(QString::fromLatin1(name)));
            auto* card = new Card(name, { buttons.last() });
            card->setFootnote(
                QStringLiteral("A text about it that is so long that it takes several lines of a page, "
                               "more than are seen without scrolling to them"));
            page->add(card);
        }
        window.resize(300, 130);
        window.show();
        window.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&window));
    }
    QRect placeOf(const QWidget& part) const
    {
        return { part.mapTo(page->viewport(), QPoint(0, 0)), part.size() };
    }
    const WrappedLabel* footnote(int section) const
    {
        const auto labels = page->findChildren<Card*>().at(section)->findChildren<QLabel*>();
        for (const auto* label : labels) {
            if (label->text().startsWith(u'A'))
                return dynamic_cast<const WrappedLabel*>(label);
        }
        return nullptr;
    }
    bool shows(const QWidget& part) const { return page->viewport()->rect().contains(placeOf(part)); }
};

} // namespace

class FormPageTest : public QObject {
    Q_OBJECT
    using Fixture = FormPageFixture;

private Q_SLOTS:
    void initTestCase() { SettingsWindow::prepareProgram(); }
    void init() { SettingsWindow::prepare(); }

    void pickersOfAPageAreOfOneWidth()
    {
        MenuBarPage menuBar;
        show(menuBar);
        QVERIFY(menuBar.findChildren<PopupPicker*>().size() >= 7);
        QCOMPARE(widths<PopupPicker>(menuBar).size(), 1);
        QCOMPARE(menuBar.findChildren<SegmentedPicker*>().size(), 3);
        QCOMPARE(widths<SegmentedPicker>(menuBar).size(), 1);
        GeneralPage general;
        show(general);
        QCOMPARE(widths<PopupPicker>(general).size(), 1);
        // Each segment is as wide as the widest one needs, and no wider.
        int widest = 0;
        for (const auto* picker : general.findChildren<PopupPicker*>())
            widest = std::max(widest, picker->ownWidth());
        QCOMPARE(*widths<PopupPicker>(general).begin(), widest);
    }

    void theSegmentsOfAWidePickerFillIt()
    {
        MenuBarPage page;
        show(page);
        for (const auto* picker : page.findChildren<SegmentedPicker*>()) {
            const auto segments = picker->findChildren<QRadioButton*>();
            int end = 0;
            int surplus = -1;
            for (const auto* segment : segments) {
                QCOMPARE(segment->x(), end);
                end = segment->geometry().right() + 1;
                // All segments got the same extra width.
                const int more = segment->width() - segment->sizeHint().width();
                QVERIFY(surplus < 0 || std::abs(more - surplus) <= 1);
                surplus = more;
            }
            QCOMPARE(end, picker->width());
        }
    }

    void theKeyboardBringsFootnotesAndHeadingsIntoView()
    {
        Fixture fixture;
        fixture.buttons[0]->setFocus(Qt::TabFocusReason);
        for (const int next : { 1, 2 }) {
            QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
            QVERIFY(fixture.buttons[next]->hasFocus());
            QVERIFY(fixture.shows(*fixture.buttons[next]));
            QVERIFY(fixture.shows(*fixture.footnote(next)));
        }
        // Scrolled to its end, the page shows its lower margin.
        const QScrollBar& bar = *fixture.page->verticalScrollBar();
        QVERIFY(bar.maximum() > 0);
        QCOMPARE(bar.value(), bar.maximum());
        for (const int next : { 1, 0 }) {
            QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab, Qt::ShiftModifier);
            QVERIFY(fixture.buttons[next]->hasFocus());
            QVERIFY(fixture.shows(*fixture.buttons[next]));
        }
        QCOMPARE(bar.value(), 0);
    }

    void whereNotAllFitsTheControlIsWhatIsSeen()
    {
        Fixture fixture;
        fixture.window.resize(300, 60);
        fixture.page->resize(300, 60);
        fixture.buttons[0]->setFocus(Qt::TabFocusReason);
        for (const int next : { 1, 2 }) {
            QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
            QVERIFY(fixture.shows(*fixture.buttons[next]));
        }
    }

    void theFootnoteOfTheMenuBarPageIsSeenWhenTheKeyboardComesToItsLastControl()
    {
        SettingsWindow w;
        auto* page = w.view.pageWidget();
        auto* last = page->findChild<PopupPicker*>(QStringLiteral("sensorsReadout"));
        last->previousInFocusChain()->setFocus(Qt::TabFocusReason);
        while (!last->hasFocus())
            QTest::keyClick(QApplication::focusWidget(), Qt::Key_Tab);
        QVERIFY(page->verticalScrollBar()->maximum() > 0);
        QCOMPARE(page->verticalScrollBar()->value(), page->verticalScrollBar()->maximum());
    }
};

KESTRUM_TEST_MAIN(QApplication, FormPageTest)
#include "FormPageTest.moc"
