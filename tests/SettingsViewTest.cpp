#include "Kestrum/Window/SettingsView.h"
#include "Kestrum/Form/Theme.h"
#include "Kestrum/MenuBar/MenuBarPage.h"
#include "Kestrum/MenuBar/MenuBarPreview.h"
#include "Kestrum/MenuBar/MenuBarStrip.h"
#include "Kestrum/MenuBar/MenuBarStripView.h"
#include "Kestrum/Window/NonCollapsibleSidebarProbe.h"
#include "Kestrum/Window/SaveNotice.h"
#include "Kestrum/Window/Sidebar.h"
#include "Kestrum/Window/SplitView.h"
#include "KestrumShared/Settings/Setting.h"
#include "Platform/Bundle.h"
#include "tests/TestBundle.h"
#include "tests/TestHome.h"

#include <QAccessible>
#include <QApplication>
#include <QDir>
#include <QLabel>
#include <QSignalSpy>
#include <QTest>

using namespace kestrum;

class SettingsViewTest : public QObject {
    Q_OBJECT

    struct Window {
        SettingsView view;

        Window()
        {
            view.resize(640, 520);
            view.show();
            view.activateWindow();
            QVERIFY(QTest::qWaitForWindowActive(&view));
            QTest::qWait(10); // the probe's turn
        }
        Sidebar& sidebar() { return *view.findChild<Sidebar*>(); }
        SplitView& split() { return *view.findChild<SplitView*>(); }
        SaveNotice& notice() { return *view.findChild<SaveNotice*>(); }
        int sidebarWidth() { return split().sizes().first(); }

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

    static QString storedPane()
    {
        return SharedSettings::store().storedDictionary().value(QLatin1StringView("settingsPane")).toString();
    }

private Q_SLOTS:
    void initTestCase()
    {
        QApplication::setStyle(QStringLiteral("fusion"));
        Bundle::setMain(Bundle(qEnvironmentVariable("KESTRUM_BUILD") + QStringLiteral("/Kestrum.app")));
        SharedSettings::store().registerDefaults(SharedSettings::factoryDefaults());
    }

    void init()
    {
        SharedSettings::store().apply({}, SharedSettings::store().storedDictionary().keys());
        QTest::qWait(20);
    }

    void anUnknownPaneOpensTheMenuBarPage_data()
    {
        QTest::addColumn<QJsonValue>("stored");
        QTest::newRow("absent") << QJsonValue(QJsonValue::Undefined);
        QTest::newRow("no page") << QJsonValue(QStringLiteral("agent"));
        QTest::newRow("empty") << QJsonValue(QString());
        QTest::newRow("a number") << QJsonValue(2);
    }

    void anUnknownPaneOpensTheMenuBarPage()
    {
        QFETCH(QJsonValue, stored);
        if (!stored.isUndefined())
            SharedSettings::store().set("settingsPane", stored);
        Window w;
        QCOMPARE(w.view.page(), SettingsPage::menuBar);
        QVERIFY(qobject_cast<MenuBarPage*>(w.view.pageWidget()));
        QCOMPARE(w.sidebar().currentIndex().data().toString(), QStringLiteral("Menu Bar"));
        QVERIFY(w.sidebar().selectionModel()->isSelected(w.sidebar().currentIndex()));
        // It stays as it is until another page is selected.
        QCOMPARE(SharedSettings::store().storedDictionary().value(QLatin1StringView("settingsPane")), stored);
    }

    void theWindowReopensOnThePageLastShown()
    {
        {
            Window w;
            w.view.selectPage(SettingsPage::general);
            QCOMPARE(storedPane(), QStringLiteral("general"));
        }
        Window w;
        QCOMPARE(w.view.page(), SettingsPage::general);
        QVERIFY(!qobject_cast<MenuBarPage*>(w.view.pageWidget()));
    }

    void thePagesHaveTheirNamesAndSymbols()
    {
        QStringList pages;
        for (const auto& page : allCases<SettingsPage>())
            pages.append(rawValue(page.value) + u' ' + title(page.value) + u' ' + symbol(page.value));
        QCOMPARE(pages,
            QStringList({ QStringLiteral("menuBar Menu Bar menubar.rectangle"),
                QStringLiteral("popovers Popovers macwindow"),
                QStringLiteral("general General gearshape") }));
    }

    void theMenuBarPageBeginsWithThePreviewAlone()
    {
        Window w;
        QWidget* page = w.view.pageWidget();
        QCOMPARE(page->findChildren<MenuBarPreview*>().size(), 1);
        Card* first = page->findChildren<Card*>().first();
        QVERIFY(first->isAncestorOf(page->findChild<MenuBarPreview*>()));
        // Neither heading nor footnote.
        for (const QLabel* label : first->findChildren<QLabel*>())
            QVERIFY(!label->isVisible());
        QCOMPARE(first->size(), page->findChild<MenuBarPreview*>()->size());
    }

    void theSidebarListsThePagesInGroups()
    {
        Window w;
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

    void arrowsPassOverHeadings()
    {
        Window w;
        QVERIFY(w.sidebar().hasFocus());
        QTest::keyClick(&w.sidebar(), Qt::Key_Up);
        QCOMPARE(w.view.page(), SettingsPage::menuBar);
        QTest::keyClick(&w.sidebar(), Qt::Key_Down);
        QCOMPARE(storedPane(), QStringLiteral("popovers"));
        QTest::keyClick(&w.sidebar(), Qt::Key_Down);
        QCOMPARE(storedPane(), QStringLiteral("general"));
        QTest::keyClick(&w.sidebar(), Qt::Key_Home);
        QCOMPARE(storedPane(), QStringLiteral("menuBar"));
        QTest::keyClick(&w.sidebar(), Qt::Key_End);
        QCOMPARE(w.view.page(), SettingsPage::general);
        QTest::keyClick(&w.sidebar(), Qt::Key_Up);
        QCOMPARE(w.view.page(), SettingsPage::popovers);
    }

    void aClickSelectsAPageAndAHeadingNothing()
    {
        Window w;
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

    void controlAndDigitsChoosePages()
    {
        Window w;
        QTest::keyClick(&w.view, Qt::Key_3, Qt::ControlModifier);
        QCOMPARE(w.view.page(), SettingsPage::general);
        QCOMPARE(storedPane(), QStringLiteral("general"));
        QTest::keyClick(&w.view, Qt::Key_1, Qt::ControlModifier);
        QCOMPARE(w.view.page(), SettingsPage::menuBar);
        QTest::keyClick(&w.view, Qt::Key_2, Qt::ControlModifier);
        QCOMPARE(w.view.page(), SettingsPage::popovers);
    }

    void aPageThatGoesLeavesTheKeyboardToTheSidebar()
    {
        Window w;
        w.view.findChild<MenuBarStripView*>()->setFocus(Qt::TabFocusReason);
        QVERIFY(!w.sidebar().hasFocus());
        QTest::keyClick(&w.view, Qt::Key_2, Qt::ControlModifier);
        QVERIFY(w.sidebar().hasFocus());
        QTest::keyClick(w.view.focusWidget(), Qt::Key_Down);
        QCOMPARE(w.view.page(), SettingsPage::general);
    }

    void controlWAndQClose_data()
    {
        QTest::addColumn<Qt::Key>("key");
        QTest::newRow("W") << Qt::Key_W;
        QTest::newRow("Q") << Qt::Key_Q;
    }

    void controlWAndQClose()
    {
        QFETCH(Qt::Key, key);
        Window w;
        QTest::keyClick(&w.view, key, Qt::ControlModifier);
        QTRY_VERIFY(!w.view.isVisible());
    }

    void anotherProgramsChoiceOfThePaneIsFollowed()
    {
        Window w;
        SharedSettings::store().set("settingsPane", QStringLiteral("general"));
        QTRY_COMPARE(w.view.page(), SettingsPage::general);
        SharedSettings::store().set("settingsPane", QStringLiteral("nonsense"));
        QTRY_COMPARE(w.view.page(), SettingsPage::menuBar);
        QCOMPARE(storedPane(), QStringLiteral("nonsense"));
    }

    void onlyThePageShownIsBuilt()
    {
        Window w;
        QCOMPARE(w.view.findChildren<FormPage*>().size(), 1);
        w.view.selectPage(SettingsPage::popovers);
        QCOMPARE(w.view.findChildren<FormPage*>().size(), 1);
        QVERIFY(w.view.findChildren<MenuBarPage*>().isEmpty());
    }

    void theSidebarIsNeitherNarrowerNorWiderThanItMay()
    {
        Window w;
        w.view.resize(900, 520);
        QCOMPARE(w.sidebarWidth(), 204);
        w.dragDividerTo(100);
        QCOMPARE(w.sidebarWidth(), 204);
        w.dragDividerTo(250);
        QVERIFY2(std::abs(w.sidebarWidth() - 250) < 4, qPrintable(QString::number(w.sidebarWidth())));
        w.dragDividerTo(700);
        QCOMPARE(w.sidebarWidth(), 320);
        // Dragged to the very edge, where a collapsible column would vanish.
        w.dragDividerTo(0);
        QCOMPARE(w.sidebarWidth(), 204);
    }

    void aSmallWindowDoesNotCollapseTheSidebar()
    {
        Window w;
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

    void anotherLanguageRebuildsTheWindowOnTheSamePage()
    {
        Window w;
        w.view.selectPage(SettingsPage::general);
        Setting { Keys::language }.set(QStringLiteral("de"));
        QTRY_COMPARE(w.sidebar().currentIndex().data().toString(), QStringLiteral("Allgemein"));
        QCOMPARE(w.view.page(), SettingsPage::general);
        QCOMPARE(w.view.locale().language(), QLocale::German);
        QCOMPARE(w.view.findChildren<Sidebar*>().size(), 1);
        QTRY_VERIFY(w.view.findChild<SplitView*>()->isVisible());
        QTest::keyClick(&w.view, Qt::Key_1, Qt::ControlModifier);
        QCOMPARE(w.sidebar().currentIndex().data().toString(), QStringLiteral("Menüleiste"));
    }

    void theWindowsLocaleHasTheUsersRegion()
    {
        qputenv("LC_NUMERIC", "fr_CH.UTF-8");
        Window w;
        QCOMPARE(w.view.locale().language(), QLocale::English);
        QCOMPARE(w.view.locale().territory(), QLocale::Switzerland);
        // Also where the language's code names a region of its own.
        const TestBundle bundle("{ }", { "en", "pt-BR" });
        Setting { Keys::language }.set(QStringLiteral("pt-BR"));
        QTRY_COMPARE(w.view.locale().language(), QLocale::Portuguese);
        QCOMPARE(w.view.locale().territory(), QLocale::Switzerland);
        qunsetenv("LC_NUMERIC");
    }

    void theWholeWindowFollowsTheScheme()
    {
        Window w;
        for (const ColourScheme scheme : { ColourScheme::dark, ColourScheme::light }) {
            SystemAppearance::shared().setScheme(scheme);
            const QImage picture = w.view.grab().toImage();
            QCOMPARE(
                picture.pixelColor(620, 500).rgba(), Theme::colour(Theme::Colour::window, scheme).rgba());
            QCOMPARE(
                picture.pixelColor(100, 500).rgba(), Theme::colour(Theme::Colour::sidebar, scheme).rgba());
            QCOMPARE(picture.pixelColor(230, 80).rgba(),
                Theme::colour(Theme::Colour::previewPlate, scheme).rgba());
        }
    }

    void theSelectedRowIsGreyWhileTheWindowIsInactive()
    {
        Window w;
        const QRect row = w.sidebar().visualRect(w.sidebar().currentIndex());
        const QPoint place
            = w.sidebar().viewport()->mapTo(&w.view, QPoint(row.right() - 14, row.center().y()));
        const QColor selection = Theme::colour(Theme::Colour::selection);
        QCOMPARE(w.view.grab().toImage().pixelColor(place).rgba(), selection.rgba());
        // Also while something else in the window has the keyboard.
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

    void cardsAreCentredAndNeverTooWide_data()
    {
        QTest::addColumn<int>("pageWidth");
        QTest::addColumn<int>("left");
        QTest::addColumn<int>("width");
        QTest::newRow("narrow") << 459 << 16 << 427;
        QTest::newRow("ordinary") << 460 << 20 << 420;
        QTest::newRow("wide") << 1000 << 190 << 620;
    }

    void cardsAreCentredAndNeverTooWide()
    {
        QFETCH(int, pageWidth);
        QFETCH(int, left);
        MenuBarPage page;
        page.resize(pageWidth, 400);
        page.show();
        const QWidget* card = page.findChild<Card*>();
        QCOMPARE(card->mapTo(&page, QPoint(0, 0)).x(), left);
        QTEST(card->width(), "width");
    }

    void aLongReasonIsShortenedInItsMiddle()
    {
        SaveNotice notice;
        const QString about = QStringLiteral("Settings are not being saved:");
        notice.setReason(
            QStringLiteral("a folder with a very long name, in which there is no room for anything"));
        notice.resize(notice.sizeHint());
        QCOMPARE(notice.shownText(), notice.accessibleName());
        notice.resize(notice.sizeHint().width() - 80, notice.height());
        QVERIFY2(notice.shownText().startsWith(about + QStringLiteral(" a")), qPrintable(notice.shownText()));
        QVERIFY(notice.shownText().contains(QChar(0x2026)));
        QVERIFY(notice.shownText().endsWith(QStringLiteral("g")));
        // As narrow as the page gets.
        notice.resize(640 - 320 - 1, notice.height());
        QVERIFY2(notice.shownText().startsWith(about), qPrintable(notice.shownText()));
        QVERIFY(notice.fontMetrics().horizontalAdvance(notice.shownText()) <= notice.width() - 2 * 16);
    }

    void aFailedSaveIsToldUntilOneSucceeds()
    {
        Window w;
        QVERIFY(!w.notice().isVisible());
        // A directory where the settings file should be: it can be neither read nor replaced, not even by root.
        const QString path = SharedSettings::store().filePath();
        QFile::remove(path);
        QVERIFY(QDir().mkpath(path + QStringLiteral("/occupied")));
        QVERIFY(!Setting { Keys::showCPUItem }.set(false));
        QTRY_VERIFY(w.notice().isVisible());
        QVERIFY(w.notice().accessibleName().contains(SharedSettings::store().lastError()));
        QVERIFY(QDir(path).removeRecursively());
        QVERIFY(Setting { Keys::showCPUItem }.set(false));
        QTRY_VERIFY(!w.notice().isVisible());
    }
};

KESTRUM_TEST_MAIN(QApplication, SettingsViewTest)
#include "SettingsViewTest.moc"
