#include "Kestrum/Window/NonCollapsibleSidebarProbe.h"
#include "KestrumShared/Text/AppLanguage.h"
#include "Platform/Desktop/SymbolImage.h"
#include "tests/Support/PaintWatcher.h"
#include "tests/Support/PanelPixels.h"
#include "tests/Support/Rows.h"
#include "tests/Support/SettingsWindow.h"
#include "tests/Support/TestBundle.h"
#include "tests/Support/TestHome.h"

#include <QPainter>

using namespace kestrum;

/// The window's first column: the list of pages, its width limits and its appearance.
class SidebarTest : public QObject {
    Q_OBJECT

    /// Checks that the list draws as much ink at its least width as at a width where every text fits on one line.
    static void verifyWhole()
    {
        Sidebar list;
        // The list is white and has no plate behind any row.
        list.setPalette(QPalette(Qt::white));
        list.viewport()->setAutoFillBackground(true);
        list.viewport()->setPalette(QPalette(Qt::white, Qt::white));
        list.clearSelection();
        list.resize(2000, 600);
        list.show();
        QVERIFY(QTest::qWaitForWindowExposed(&list));
        const double whole = inkOf(list.viewport()->grab().toImage());
        list.resize(204, 600);
        const double shown = inkOf(list.viewport()->grab().toImage());
        QCOMPARE_GT(whole, 10'000);
        QCOMPARE_LT(std::abs(shown / whole - 1), 0.02);
    }

private Q_SLOTS:
    void initTestCase() { SettingsWindow::prepareProgram(); }
    void init() { SettingsWindow::prepare(); }

    void theSidebarListsThePagesInGroups()
    {
        SettingsWindow w;
        QStringList rows;
        for (int row = 0; row < w.sidebar().model()->rowCount(); ++row) {
            const QModelIndex index = w.sidebar().model()->index(row, 0);
            rows.append(index.data().toString() + (index.flags() ? QString() : QStringLiteral(":")));
        }
        QCOMPARE(rows.join(u'|'), QStringLiteral("Interface:|Menu Bar|Popovers|Application:|General"));
        QAccessibleInterface* list = QAccessible::queryAccessibleInterface(&w.sidebar());
        QCOMPARE(list->role(), QAccessible::List);
        QCOMPARE(list->child(1)->text(QAccessible::Name), QStringLiteral("Menu Bar"));
        QVERIFY(list->child(1)->state().selected);
    }

    void eachPageHasItsSymbolBeforeItsTitle()
    {
        SettingsWindow w;
        const QStringList names { QStringLiteral("menubar.rectangle"), QStringLiteral("macwindow"),
            QStringLiteral("gearshape") };
        const int rows[] = { 1, 2, 4 };
        for (int i = 0; i < 3; ++i) {
            // Another page is selected, so that this row has the sidebar's own background.
            w.view.selectPage(i == 0 ? SettingsPage::general : SettingsPage::menuBar);
            const QRect row = w.row(rows[i]);
            QImage expected(24, 24, QImage::Format_RGB32);
            expected.fill(Theme::colour(Theme::Colour::sidebar));
            const QImage symbol = SymbolImage::image(names[i], 14, Theme::colour(Theme::Colour::text), 1);
            QPainter(&expected).drawImage(
                qRound((24 - symbol.width()) / 2.0), qRound((24 - symbol.height()) / 2.0), symbol);
            // The symbol is centred vertically in the row's plate, which is 8 from the edges and 2 from the row below.
            const QPoint middle(row.left() + 8 + 10 + 8, row.adjusted(0, 0, 0, -2).center().y() + 1);
            const QPoint corner = w.sidebar().viewport()->mapTo(&w.view, middle - QPoint(12, 12));
            const QImage shown = w.view.grab(QRect(corner, QSize(24, 24))).toImage();
            for (int y = 0; y < 24; ++y) {
                for (int x = 0; x < 24; ++x)
                    QVERIFY_COLOUR(shown.pixelColor(x, y), expected.pixelColor(x, y));
            }
        }
    }

    void arrowsPassOverHeadings()
    {
        SettingsWindow w;
        QVERIFY(w.sidebar().hasFocus());
        QTest::keyClick(&w.sidebar(), Qt::Key_Up);
        QCOMPARE(w.view.page(), SettingsPage::menuBar);
        QTest::keyClick(&w.sidebar(), Qt::Key_Down);
        QCOMPARE(storedText("settingsPane"), QStringLiteral("popovers"));
        QTest::keyClick(&w.sidebar(), Qt::Key_Down);
        QCOMPARE(storedText("settingsPane"), QStringLiteral("general"));
        QTest::keyClick(&w.sidebar(), Qt::Key_Home);
        QCOMPARE(storedText("settingsPane"), QStringLiteral("menuBar"));
        QTest::keyClick(&w.sidebar(), Qt::Key_End);
        QCOMPARE(w.view.page(), SettingsPage::general);
        QTest::keyClick(&w.sidebar(), Qt::Key_Up);
        QCOMPARE(w.view.page(), SettingsPage::popovers);
    }

    void aClickSelectsAPageAndAHeadingNothing()
    {
        SettingsWindow w;
        const auto click = [&w](int row) {
            QTest::mouseClick(w.sidebar().viewport(), Qt::LeftButton, {}, w.row(row).center());
        };
        click(4);
        QCOMPARE(w.view.page(), SettingsPage::general);
        click(0);
        QCOMPARE(w.view.page(), SettingsPage::general);
        QVERIFY(w.sidebar().selectionModel()->isSelected(w.sidebar().currentIndex()));
    }

    void thePageShownStaysSelectedWhateverIsHeldDown()
    {
        SettingsWindow w;
        const auto isSelected
            = [&w] { return w.sidebar().selectionModel()->isSelected(w.sidebar().currentIndex()); };
        const QPoint place = w.selectedRow().center();
        for (const Qt::KeyboardModifier held : { Qt::ControlModifier, Qt::ShiftModifier }) {
            QTest::mouseClick(w.sidebar().viewport(), Qt::LeftButton, held, place);
            QVERIFY(isSelected());
            QTest::keyClick(&w.sidebar(), Qt::Key_Space, held);
            QVERIFY(isSelected());
        }
        // Click below the last row.
        QTest::mouseClick(w.sidebar().viewport(), Qt::LeftButton, Qt::ControlModifier,
            w.sidebar().viewport()->rect().bottomLeft() - QPoint(-20, 4));
        QVERIFY(isSelected());
        QCOMPARE(w.view.page(), SettingsPage::menuBar);
    }

    void theSidebarIsNeitherNarrowerNorWiderThanItMay()
    {
        SettingsWindow w;
        w.view.resize(900, 520);
        QCOMPARE(w.sidebarWidth(), 204);
        w.dragDividerTo(100);
        QCOMPARE(w.sidebarWidth(), 204);
        w.dragDividerTo(250);
        QCOMPARE_LT(std::abs(w.sidebarWidth() - 250), 4);
        w.dragDividerTo(700);
        QCOMPARE(w.sidebarWidth(), 320);
        // A collapsible column would vanish when dragged to the very edge.
        w.dragDividerTo(0);
        QCOMPARE(w.sidebarWidth(), 204);
    }

    void aSmallWindowDoesNotCollapseTheSidebar()
    {
        SettingsWindow w;
        w.view.resize(1000, 520);
        w.dragDividerTo(310);
        w.view.resize(640, 480);
        QVERIFY(w.sidebarWidth() >= 204);
        QCOMPARE(w.view.minimumSize(), QSize(640, 480));
        w.view.resize(100, 100);
        QCOMPARE(w.view.size(), QSize(640, 480));
    }

    void theProbePinsTheFirstColumnOfTheNearestSplitView()
    {
        QSplitter outer;
        auto* inner = new QSplitter(&outer);
        auto* column = new QWidget(inner);
        new QWidget(inner);
        new NonCollapsibleSidebarProbe(column);
        QVERIFY(inner->isCollapsible(0));
        QTRY_VERIFY(!inner->isCollapsible(0));
        QVERIFY(inner->isCollapsible(1));
        QVERIFY(outer.isCollapsible(0));
    }

    void aProbeOutsideOfASplitViewDoesNothing()
    {
        QWidget window;
        auto* probe = new NonCollapsibleSidebarProbe(&window);
        settle();
        QCOMPARE(probe->parentWidget(), &window);
    }

    void aLanguageWrittenFromTheRightMirrorsTheWindow()
    {
        const TestBundle bundle("{ }", { "en", "he" });
        SettingsWindow w;
        QVERIFY(w.place(w.sidebar()).x() < w.place(*w.view.pageWidget()).x());
        const auto columnOfSymbol = [&w] {
            // The first column of pixels, from the leading end, that differs from the row's plain background.
            const QRect row = w.selectedRow();
            const QImage picture = w.sidebar().viewport()->grab(row).toImage();
            const QImage fromLeading = picture.mirrored(w.sidebar().isRightToLeft(), false);
            const QImage inner = fromLeading.copy(10, 8, row.width() - 10, row.height() - 16);
            const QRect content = pixelsOtherThan(inner, Theme::colour(Theme::Colour::selection)).place;
            return content.isNull() ? -1 : 10 + content.left();
        };
        const int column = columnOfSymbol();
        QVERIFY2(column >= 18 && column <= 20, qPrintable(QString::number(column)));
        SettingsWindow::speak("he");
        QTRY_COMPARE(w.view.locale().language(), QLocale::Hebrew);
        QTRY_VERIFY(w.place(w.sidebar()).x() > w.place(*w.view.pageWidget()).x());
        QVERIFY(w.sidebar().isRightToLeft());
        // Waits until the new row has been painted. The columns may differ by rounding.
        QTRY_VERIFY(std::abs(columnOfSymbol() - column) <= 1);
        // The text is beside the symbol, and the row's trailing end is empty.
        const QRect row = w.selectedRow();
        const QImage end
            = w.sidebar().viewport()->grab(row.adjusted(20, 8, -row.width() * 2 / 3, -8)).toImage();
        QCOMPARE(pixelsOtherThan(end, end.pixelColor(0, 0)).count, 0);
        SettingsWindow::speak("en");
        QTRY_VERIFY(!w.sidebar().isRightToLeft());
    }

    void theSidebarMarksItsRowWhileTheKeyboardIsAtIt()
    {
        SettingsWindow w;
        const auto isMarked = [&w] {
            // The selected row's plate is 8 from the edge. The ring starts 1 outside of it and is 2 wide, so x = 6 is in the
            // ring.
            const QRgb pixel
                = w.sidebar().viewport()->grab().toImage().pixel(6, w.selectedRow().center().y());
            return pixel == Theme::colour(Theme::Colour::focusRing).rgba();
        };
        QTest::mouseClick(w.sidebar().viewport(), Qt::LeftButton, {}, w.selectedRow().center());
        QVERIFY(!isMarked());
        QTest::keyClick(&w.view, Qt::Key_Tab);
        QVERIFY(!isMarked());
        QTest::keyClick(w.view.focusWidget(), Qt::Key_Backtab);
        QVERIFY(w.sidebar().hasFocus());
        QVERIFY(isMarked());
    }

    void longTextsWrapAndNothingOfThemIsLost_data()
    {
        addRows<QByteArray>({ { "English", "/* as it is */" },
            { "longer by 40 %",
                "\"Menu Bar\" = \"[Ménü Bär ẋẋẋ]\"; Popovers = \"[Pöpövérs ẋẋẋ]\"; General = "
                "\"[Générâl ẋẋẋ]\"; Interface = \"[Ïntérfâcé ẋẋẋ]\"; Application = "
                "\"[Âpplïcâtïön ẋẋẋ]\";" },
            { "several words",
                "\"Menu Bar\" = \"What stands in the menu bar of the desktop\"; Application = "
                "\"What concerns the application as a whole\";" },
            { "one word",
                "General = \"Allgemeineinstellungsverzeichnis\"; Interface = "
                "\"Benutzeroberflächengestaltungsmöglichkeiten\";" } });
    }
    void longTextsWrapAndNothingOfThemIsLost()
    {
        const auto [table] = thisRow<QByteArray>();
        const TestBundle bundle("{ }", { "en", "fr" });
        bundle.writeTable("fr", table);
        SettingsWindow::speak("fr");
        verifyWhole();
    }

    void noLanguageLosesAWord()
    {
        for (const QString& code : AppLanguage::shipped()) {
            SettingsWindow::speak(code.toLatin1().constData());
            verifyWhole();
        }
    }

    void aWiderSidebarNeedsFewerLines()
    {
        const TestBundle bundle("{ }", { "en", "fr" });
        bundle.writeTable("fr", "\"Menu Bar\" = \"What stands in the menu bar of the desktop\";");
        SettingsWindow::speak("fr");
        SettingsWindow w;
        w.view.resize(900, 520);
        const auto height = [&w] { return w.row(1).height(); };
        const int narrow = height();
        QVERIFY(narrow > 32);
        w.dragDividerTo(320);
        QVERIFY(height() < narrow);
        w.dragDividerTo(204);
        QCOMPARE(height(), narrow);
        // The rows below move down: no rows overlap.
        QCOMPARE(w.row(2).top(), w.row(1).bottom() + 1);
    }

    void theMarkLeavesNothingBehind()
    {
        SettingsWindow w;
        QWidget& viewport = *w.sidebar().viewport();
        PaintWatcher watcher;
        QTest::keyClick(&w.view, Qt::Key_Tab);
        QTest::keyClick(w.view.focusWidget(), Qt::Key_Backtab);
        settle();
        viewport.installEventFilter(&watcher);
        const QRect before = w.selectedRow();
        QTest::keyClick(&w.sidebar(), Qt::Key_Down);
        settle();
        QTest::keyClick(&w.sidebar(), Qt::Key_Up);
        settle();
        // The ring reaches 3 beyond the row, although the gap to the next row is only 2.
        for (const int y : { before.top() - 3, before.bottom() + 1 })
            QVERIFY(watcher.painted.contains(QPoint(before.center().x(), y)));
    }

    void theRowUnderThePointerIsShown()
    {
        SettingsWindow w;
        const auto ground = [&w](int number) {
            const QRect row = w.row(number);
            return w.sidebar().viewport()->grab().toImage().pixel(row.right() - 14, row.center().y());
        };
        const auto point = [&w](QPoint place) {
            QTest::mouseMove(w.view.windowHandle(), w.sidebar().viewport()->mapTo(&w.view, place));
        };
        point({ 100, 400 });
        const QRgb plain = ground(2);
        point(w.row(2).center());
        QTRY_VERIFY(ground(2) != plain);
        QCOMPARE(ground(4), plain);
        // Hovering changes neither the selected row, which has its own background, nor a heading, which is no row.
        point(w.row(1).center());
        QTRY_COMPARE(ground(2), plain);
        QCOMPARE(ground(1), Theme::colour(Theme::Colour::selection).rgba());
        point(w.row(3).center());
        settle();
        QCOMPARE(ground(3), plain);
    }

    void theSelectedRowTakesTheDesktopsAccent()
    {
        SettingsWindow w;
        settle();
        const QColor purple(0x8F, 0x3F, 0xAF);
        SystemAppearance::shared().setScheme(ColourScheme::light, purple);
        const QRect row = w.selectedRow();
        const auto shown = [&w, row] {
            return QColor(w.sidebar().viewport()->grab().toImage().pixel(row.right() - 14, row.center().y()));
        };
        QCOMPARE(shown().rgba(), purple.rgba());
        SystemAppearance::shared().setScheme(ColourScheme::light);
        QCOMPARE(shown().rgba(), Theme::colour(Theme::Colour::selection).rgba());
    }

    void theSelectedRowIsGreyWhileTheWindowIsInactive()
    {
        SettingsWindow w;
        const QPoint place = w.place(*w.sidebar().viewport()).topLeft()
            + QPoint(w.selectedRow().right() - 14, w.selectedRow().center().y());
        const QColor selection = Theme::colour(Theme::Colour::selection);
        QCOMPARE(w.view.grab().toImage().pixelColor(place).rgba(), selection.rgba());
        // The same holds while another control in the window has the focus.
        w.sidebar().clearFocus();
        QCOMPARE(w.view.grab().toImage().pixelColor(place).rgba(), selection.rgba());
        QWidget other;
        activate(other);
        const QColor grey = w.view.grab().toImage().pixelColor(place);
        QVERIFY(grey.rgba() != selection.rgba());
        QVERIFY(grey.hsvSaturationF() < 0.1F);
    }
};

KESTRUM_TEST_MAIN(QApplication, SidebarTest)
#include "SidebarTest.moc"
