#include "Kestrum/Form/FormPage.h"

#include "Kestrum/Form/PageScrollBar.h"
#include "Kestrum/Form/PushButton.h"
#include "Kestrum/Form/Row.h"
#include "Kestrum/Form/WrappedLabel.h"
#include "Kestrum/General/GeneralPage.h"
#include "tests/Support/SettingsWindow.h"
#include "tests/Support/TestHome.h"
#include "tests/Support/Widgets.h"

#include <QLayout>
#include <QRadioButton>
#include <QScrollBar>

using namespace kestrum;

class FormPageTest : public QObject {
    Q_OBJECT

    template <class Picker> static QSet<int> widths(const QWidget& page)
    {
        QSet<int> widths;
        for (const auto* picker : page.template findChildren<Picker*>())
            widths.insert(picker->width());
        return widths;
    }

    /// Shows `page` at its present size in a window that is 640 wide.
    static void show(QWidget& page)
    {
        page.resize(436, 480);
        page.show();
        QVERIFY(QTest::qWaitForWindowExposed(&page));
    }

    /// A page of three sections with a button and a footnote each, in a window that is too low for the page.
    struct Fixture {
        QWidget window;
        FormPage* page = new FormPage(&window);
        QList<PushButton*> buttons;

        Fixture()
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
            activate(window);
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
        bool shows(const QWidget& part) const
        {
            return page->viewport()->rect().contains(
                QRect(part.mapTo(page->viewport(), QPoint(0, 0)), part.size()));
        }
    };

    /// A page with `rows` rows, and its scroll bar.
    struct Scrolled {
        FormPage page;
        Card* card = new Card;

        explicit Scrolled(int rows)
        {
            page.add(card);
            addRows(rows);
            page.resize(436, 300);
            page.show();
            QVERIFY(QTest::qWaitForWindowExposed(&page));
        }
        void addRows(int rows)
        {
            for (int i = 0; i < rows; ++i)
                card->add(new Row(QStringLiteral("Row")));
        }
        PageScrollBar& bar() { return *page.findChild<PageScrollBar*>(); }
        int value() { return page.verticalScrollBar()->value(); }
        int maximum() { return page.verticalScrollBar()->maximum(); }
    };

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

    void itIsThereOnlyWhenNeededAndMovesNothing()
    {
        Scrolled page(2);
        QVERIFY(!page.bar().isVisible());
        const int width = page.card->width();
        page.addRows(20);
        QTRY_VERIFY(page.bar().isVisible());
        QCOMPARE(page.card->width(), width);
        // The bar is in the margin, beside the cards.
        const int card = page.card->mapTo(&page.page, QPoint(width, 0)).x();
        QVERIFY(page.bar().x() >= card);
        QCOMPARE(page.bar().geometry().right(), page.page.width() - 1);
        page.page.resize(436, 2000);
        QTRY_VERIFY(!page.bar().isVisible());
    }

    void aPageWithTextsThatWrapHasNoneAsLongAsItFits()
    {
        for (int words = 1; words <= 40; ++words) {
            Scrolled page(2);
            const QString text = QStringLiteral("several ").repeated(words).trimmed();
            page.card->add(new Row(text, new PushButton(QStringLiteral("Button"))));
            page.card->setFootnote(text);
            settle(); // lays out the new row
            const int height = page.page.widget()->heightForWidth(436);
            page.page.resize(436, height);
            settle();
            QCOMPARE(page.maximum(), 0);
            QVERIFY(!page.bar().isVisible());
            page.page.resize(436, height - 1);
            QTRY_COMPARE(page.maximum(), 1);
        }
    }

    void aDragGoesToBothEnds()
    {
        Scrolled page(40);
        QTRY_VERIFY(page.bar().isVisible());
        PageScrollBar& bar = page.bar();
        QTest::mousePress(&bar, Qt::LeftButton, {}, bar.thumb().center());
        QTest::mouseMove(&bar, QPoint(6, 1000));
        QTRY_COMPARE(page.value(), page.maximum());
        QVERIFY(bar.thumb().bottom() < bar.height());
        QTest::mouseMove(&bar, QPoint(6, -1000));
        QTRY_COMPARE(page.value(), 0);
        QTest::mouseRelease(&bar, Qt::LeftButton, {}, QPoint(6, -1000));
        QTest::mouseMove(&bar, QPoint(6, 200));
        settle();
        QCOMPARE(page.value(), 0);
    }

    void aClickBesideTheThumbScrollsByAPage()
    {
        Scrolled page(40);
        QTRY_VERIFY(page.bar().isVisible());
        QTest::mouseClick(&page.bar(), Qt::LeftButton, {}, QPoint(6, 290));
        QCOMPARE(page.value(), page.page.verticalScrollBar()->pageStep());
        QTest::mouseClick(&page.bar(), Qt::LeftButton, {}, QPoint(6, 5));
        QCOMPARE(page.value(), 0);
    }

    void theThumbTellsWhereThePageIs()
    {
        Scrolled page(40);
        QTRY_VERIFY(page.bar().isVisible());
        const QRect before = page.bar().thumb();
        page.page.verticalScrollBar()->setValue(page.maximum() / 2);
        QCOMPARE(page.bar().thumb().height(), before.height());
        QCOMPARE_LE(std::abs(page.bar().thumb().center().y() - 150), 2);
    }

    void itStandsAtTheLeftInRightToLeftLanguages()
    {
        Scrolled page(40);
        page.page.setLayoutDirection(Qt::RightToLeft);
        QCOMPARE(page.bar().x(), 0);
    }
};

KESTRUM_TEST_MAIN(QApplication, FormPageTest)
#include "FormPageTest.moc"
