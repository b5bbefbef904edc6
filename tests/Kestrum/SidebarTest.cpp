#include "Kestrum/Form/Theme.h"
#include "Kestrum/Window/NonCollapsibleSidebarProbe.h"
#include "KestrumShared/Settings/Setting.h"
#include "KestrumShared/Text/AppLanguage.h"
#include "Platform/Desktop/SymbolImage.h"
#include "tests/Support/PaintWatcher.h"
#include "tests/Support/PanelPixels.h"
#include "tests/Support/SettingsWindow.h"
#include "tests/Support/TestBundle.h"
#include "tests/Support/TestHome.h"

#include <QAccessible>
#include <QPainter>

using namespace kestrum;

/// The window's first column: the list of pages, its width limits and its appearance.
class SidebarTest : public QObject {
    Q_OBJECT

    /// The amount of ink in the list's picture: the sum of all contrasts to the background.
    static double ink(Sidebar& list)
    {
        const QImage picture = list.viewport()->grab().toImage().convertToFormat(QImage::Format_Grayscale8);
        double sum = 0;
        for (int y = 0; y < picture.height(); ++y) {
            for (int x = 0; x < picture.width(); ++x)
                sum += 255 - qGray(picture.pixel(x, y));
        }
        return sum;
    }

    /// Checks that at the least width the list shows as much as where everything fits on one line.
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
        const double whole = ink(list);
        list.resize(204, 600);
        const double shown = ink(list);
        QVERIFY(whole > 10'000);
        QVERIFY2(std::abs(shown / whole - 1) < 0.02, qPrintable(QString::number(shown / whole)));
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
        QCOMPARE(rows,
            QStringList({ QStringLiteral("Interface:"), QStringLiteral("Menu Bar"),
                QStringLiteral("Popovers"), QStringLiteral("Application:"), QStringLiteral("General") }));
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
            const QRect row = w.sidebar().visualRect(w.sidebar().model()->index(rows[i], 0));
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
            const QRect place = w.sidebar().visualRect(w.sidebar().model()->index(row, 0));
            QTest::mouseClick(w.sidebar().viewport(), Qt::LeftButton, {}, place.center());
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
        const QPoint place = w.sidebar().visualRect(w.sidebar().currentIndex()).center();
        for (const Qt::KeyboardModifier held : { Qt::ControlModifier, Qt::ShiftModifier }) {
            QTest::mouseClick(w.sidebar().viewport(), Qt::LeftButton, held, place);
            QVERIFY(isSelected());
            QTest::keyClick(&w.sidebar(), Qt::Key_Space, held);
            QVERIFY(isSelected());
        }
        // A click below the last row.
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
        QVERIFY2(std::abs(w.sidebarWidth() - 250) < 4, qPrintable(QString::number(w.sidebarWidth())));
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
        QTest::qWait(10);
        QCOMPARE(probe->parentWidget(), &window);
    }

    void aLanguageWrittenFromTheRightMirrorsTheWindow()
    {
        const TestBundle bundle("{ }", { "en", "he" });
        SettingsWindow w;
        QVERIFY(w.sidebar().mapTo(&w.view, QPoint(0, 0)).x()
            < w.view.pageWidget()->mapTo(&w.view, QPoint(0, 0)).x());
        const auto columnOfSymbol = [&w] {
            // The first column, from the leading end, that differs from the row's plain background.
            const QRect row = w.sidebar().visualRect(w.sidebar().currentIndex());
            const QImage picture = w.sidebar().viewport()->grab(row).toImage();
            const QRgb ground = Theme::colour(Theme::Colour::selection).rgba();
            const bool isMirrored = w.sidebar().isRightToLeft();
            for (int i = 10; i < picture.width(); ++i) {
                for (int y = 8; y < picture.height() - 8; ++y) {
                    if (picture.pixel(isMirrored ? picture.width() - 1 - i : i, y) != ground)
                        return i;
                }
            }
            return -1;
        };
        const int column = columnOfSymbol();
        QVERIFY2(column >= 18 && column <= 20, qPrintable(QString::number(column)));
        Setting { Keys::language }.set(QStringLiteral("he"));
        QTRY_COMPARE(w.view.locale().language(), QLocale::Hebrew);
        QTRY_VERIFY(w.sidebar().mapTo(&w.view, QPoint(0, 0)).x()
            > w.view.pageWidget()->mapTo(&w.view, QPoint(0, 0)).x());
        QVERIFY(w.sidebar().isRightToLeft());
        // Waits until the new row has been painted. The columns may differ by rounding.
        QTRY_VERIFY(std::abs(columnOfSymbol() - column) <= 1);
        // The text is beside the symbol, and the row's trailing end is empty.
        const QRect row = w.sidebar().visualRect(w.sidebar().currentIndex());
        const QImage end
            = w.sidebar().viewport()->grab(row.adjusted(20, 8, -row.width() * 2 / 3, -8)).toImage();
        QImage plain = end;
        plain.fill(end.pixelColor(0, 0));
        QVERIFY(end == plain);
        Setting { Keys::language }.set(QStringLiteral("en"));
        QTRY_VERIFY(!w.sidebar().isRightToLeft());
    }

    void theSidebarMarksItsRowWhileTheKeyboardIsAtIt()
    {
        SettingsWindow w;
        const auto isMarked = [&w] {
            const QRect row = w.sidebar().visualRect(w.sidebar().currentIndex());
            // The selected row's plate is 8 from the edge. The ring starts 1 outside of it and is 2 wide, so x = 6 is in the
            // ring.
            const QImage picture = w.sidebar().viewport()->grab().toImage();
            return picture.pixel(6, row.center().y()) == Theme::colour(Theme::Colour::focusRing).rgba();
        };
        QTest::mouseClick(w.sidebar().viewport(), Qt::LeftButton, {},
            w.sidebar().visualRect(w.sidebar().currentIndex()).center());
        QVERIFY(!isMarked());
        QTest::keyClick(&w.view, Qt::Key_Tab);
        QVERIFY(!isMarked());
        QTest::keyClick(w.view.focusWidget(), Qt::Key_Backtab);
        QVERIFY(w.sidebar().hasFocus());
        QVERIFY(isMarked());
    }

    void longTextsWrapAndNothingOfThemIsLost_data()
    {
        QTest::addColumn<QByteArray>("table");
        QTest::newRow("English") << QByteArray("/* as it is */");
        QTest::newRow("longer by 40 %")
            << QByteArray("\"Menu Bar\" = \"[Ménü Bär ẋẋẋ]\"; Popovers = \"[Pöpövérs ẋẋẋ]\"; General = "
                          "\"[Générâl ẋẋẋ]\"; Interface = \"[Ïntérfâcé ẋẋẋ]\"; Application = "
                          "\"[Âpplïcâtïön ẋẋẋ]\";");
        QTest::newRow("several words")
            << QByteArray("\"Menu Bar\" = \"What stands in the menu bar of the desktop\"; Application = "
                          "\"What concerns the application as a whole\";");
        QTest::newRow("one word") << QByteArray("General = \"Allgemeineinstellungsverzeichnis\"; Interface = "
                                                "\"Benutzeroberflächengestaltungsmöglichkeiten\";");
    }

    void longTextsWrapAndNothingOfThemIsLost()
    {
        QFETCH(const QByteArray, table);
        const TestBundle bundle("{ }", { "en", "fr" });
        bundle.writeTable("fr", table);
        Setting { Keys::language }.set(QStringLiteral("fr"));
        verifyWhole();
    }

    void noLanguageLosesAWord()
    {
        for (const QString& code : AppLanguage::shipped()) {
            Setting { Keys::language }.set(code);
            verifyWhole();
        }
    }

    void aWiderSidebarNeedsFewerLines()
    {
        const TestBundle bundle("{ }", { "en", "fr" });
        bundle.writeTable("fr", "\"Menu Bar\" = \"What stands in the menu bar of the desktop\";");
        Setting { Keys::language }.set(QStringLiteral("fr"));
        SettingsWindow w;
        w.view.resize(900, 520);
        const auto height
            = [&w] { return w.sidebar().visualRect(w.sidebar().model()->index(1, 0)).height(); };
        const int narrow = height();
        QVERIFY(narrow > 32);
        w.dragDividerTo(320);
        QVERIFY(height() < narrow);
        w.dragDividerTo(204);
        QCOMPARE(height(), narrow);
        // The rows below move down: no rows overlap.
        QCOMPARE(w.sidebar().visualRect(w.sidebar().model()->index(2, 0)).top(),
            w.sidebar().visualRect(w.sidebar().model()->index(1, 0)).bottom() + 1);
    }

    void theMarkLeavesNothingBehind()
    {
        SettingsWindow w;
        QWidget& viewport = *w.sidebar().viewport();
        PaintWatcher watcher;
        QTest::keyClick(&w.view, Qt::Key_Tab);
        QTest::keyClick(w.view.focusWidget(), Qt::Key_Backtab);
        QTest::qWait(30);
        viewport.installEventFilter(&watcher);
        const QRect before = w.sidebar().visualRect(w.sidebar().currentIndex());
        QTest::keyClick(&w.sidebar(), Qt::Key_Down);
        QTest::qWait(30);
        QTest::keyClick(&w.sidebar(), Qt::Key_Up);
        QTest::qWait(30);
        // The ring reaches 3 beyond the row, although the gap to the next row is only 2.
        for (const int y : { before.top() - 3, before.bottom() + 1 })
            QVERIFY(watcher.painted.contains(QPoint(before.center().x(), y)));
    }

    void theRowUnderThePointerIsShown()
    {
        SettingsWindow w;
        const auto rowOf
            = [&w](int row) { return w.sidebar().visualRect(w.sidebar().model()->index(row, 0)); };
        const auto ground = [&w](const QRect& row) {
            return w.sidebar().viewport()->grab().toImage().pixel(row.right() - 14, row.center().y());
        };
        const auto point = [&w](QPoint place) {
            QTest::mouseMove(w.view.windowHandle(), w.sidebar().viewport()->mapTo(&w.view, place));
        };
        point({ 100, 400 });
        const QRgb plain = ground(rowOf(2));
        point(rowOf(2).center());
        QTRY_VERIFY(ground(rowOf(2)) != plain);
        QCOMPARE(ground(rowOf(4)), plain);
        // Hovering changes neither the selected row, which has its own background, nor a heading, which is no row.
        point(rowOf(1).center());
        QTRY_COMPARE(ground(rowOf(2)), plain);
        QCOMPARE(ground(rowOf(1)), Theme::colour(Theme::Colour::selection).rgba());
        point(rowOf(3).center());
        QTest::qWait(20);
        QCOMPARE(ground(rowOf(3)), plain);
    }

    void theSelectedRowTakesTheDesktopsAccent()
    {
        SettingsWindow w;
        QTest::qWait(30);
        const QColor purple(0x8F, 0x3F, 0xAF);
        SystemAppearance::shared().setScheme(ColourScheme::light, purple);
        const QRect row = w.sidebar().visualRect(w.sidebar().currentIndex());
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
        const QRect row = w.sidebar().visualRect(w.sidebar().currentIndex());
        const QPoint place
            = w.sidebar().viewport()->mapTo(&w.view, QPoint(row.right() - 14, row.center().y()));
        const QColor selection = Theme::colour(Theme::Colour::selection);
        QCOMPARE(w.view.grab().toImage().pixelColor(place).rgba(), selection.rgba());
        // The same holds while another control in the window has the focus.
        w.sidebar().clearFocus();
        QCOMPARE(w.view.grab().toImage().pixelColor(place).rgba(), selection.rgba());
        QWidget other;
        other.show();
        other.activateWindow();
        QVERIFY(QTest::qWaitForWindowActive(&other));
        const QColor grey = w.view.grab().toImage().pixelColor(place);
        QVERIFY(grey.rgba() != selection.rgba());
        QVERIFY(grey.hsvSaturationF() < 0.1F);
    }
};

KESTRUM_TEST_MAIN(QApplication, SidebarTest)
#include "SidebarTest.moc"
