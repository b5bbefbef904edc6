#include "Kestrum/Form/PageScrollBar.h"
#include "Kestrum/Form/FormPage.h"
#include "Kestrum/Form/PushButton.h"
#include "Kestrum/Form/Row.h"
#include "tests/Support/TestHome.h"

#include <QApplication>
#include <QScrollBar>
#include <QTest>

using namespace kestrum;

namespace {

/// A page with `rows` rows.
struct Page {
    FormPage page;
    Card* card = new Card;

    explicit Page(int rows)
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

} // namespace

class PageScrollBarTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void itIsThereOnlyWhenNeededAndMovesNothing()
    {
        Page page(2);
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
            Page page(2);
            const QString text = QStringLiteral("several ").repeated(words).trimmed();
            page.card->add(new Row(text, new PushButton(QStringLiteral("Button"))));
            page.card->setFootnote(text);
            QTest::qWait(1); // until the new row is laid out
            const int height = page.page.widget()->heightForWidth(436);
            page.page.resize(436, height);
            QTest::qWait(1);
            QCOMPARE(page.maximum(), 0);
            QVERIFY(!page.bar().isVisible());
            page.page.resize(436, height - 1);
            QTRY_COMPARE(page.maximum(), 1);
        }
    }

    void aDragGoesToBothEnds()
    {
        Page page(40);
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
        QTest::qWait(20);
        QCOMPARE(page.value(), 0);
    }

    void aClickBesideTheThumbScrollsByAPage()
    {
        Page page(40);
        QTRY_VERIFY(page.bar().isVisible());
        QTest::mouseClick(&page.bar(), Qt::LeftButton, {}, QPoint(6, 290));
        QCOMPARE(page.value(), page.page.verticalScrollBar()->pageStep());
        QTest::mouseClick(&page.bar(), Qt::LeftButton, {}, QPoint(6, 5));
        QCOMPARE(page.value(), 0);
    }

    void theThumbTellsWhereThePageIs()
    {
        Page page(40);
        QTRY_VERIFY(page.bar().isVisible());
        const QRect before = page.bar().thumb();
        page.page.verticalScrollBar()->setValue(page.maximum() / 2);
        QCOMPARE(page.bar().thumb().height(), before.height());
        QVERIFY(std::abs(page.bar().thumb().center().y() - 150) <= 2);
    }

    void itStandsAtTheLeftInRightToLeftLanguages()
    {
        Page page(40);
        page.page.setLayoutDirection(Qt::RightToLeft);
        QCOMPARE(page.bar().x(), 0);
    }
};

KESTRUM_TEST_MAIN(QApplication, PageScrollBarTest)
#include "PageScrollBarTest.moc"
