#include "Kestrum/General/GeneralPage.h"
#include "Kestrum/MenuBar/MenuBarPage.h"
#include "Kestrum/MenuBar/MenuBarPreview.h"
#include "Kestrum/MenuBar/MenuBarStrip.h"
#include "Kestrum/MenuBar/MenuBarStripView.h"
#include "Kestrum/Popovers/PopoversPage.h"
#include "KestrumShared/Text/Title.h"
#include "tests/Support/HeardEvents.h"
#include "tests/Support/Rows.h"
#include "tests/Support/SettingsWindow.h"
#include "tests/Support/TestBundle.h"
#include "tests/Support/TestHome.h"

#include <QPainter>
#include <sys/resource.h>

using namespace kestrum;

class SettingsViewTest : public QObject {
    Q_OBJECT

    /// While this object lives, a directory is in place of the settings file. Even root can neither read nor replace it. The
    /// constructor makes one save fail. The destructor makes one succeed.
    class UnwritableSettings {
    public:
        UnwritableSettings()
        {
            QFile::remove(m_path);
            QVERIFY(QDir().mkpath(m_path + QStringLiteral("/occupied")));
            QVERIFY(!Setting { Keys::showCPUItem }.set(!Setting { Keys::showCPUItem }.value()));
        }
        ~UnwritableSettings()
        {
            QVERIFY(QDir(m_path).removeRecursively());
            QVERIFY(Setting { Keys::showCPUItem }.set(!Setting { Keys::showCPUItem }.value()));
        }
        Q_DISABLE_COPY_MOVE(UnwritableSettings)

    private:
        QString m_path = SharedSettings::store().filePath();
    };

private Q_SLOTS:
    void initTestCase() { SettingsWindow::prepareProgram(); }
    void init() { SettingsWindow::prepare(); }

    void anUnknownPaneOpensTheMenuBarPage_data()
    {
        addRows<QJsonValue>({ { "absent", QJsonValue::Undefined }, { "no page", QStringLiteral("agent") },
            { "empty", QString() }, { "a number", 2 } });
    }
    void anUnknownPaneOpensTheMenuBarPage()
    {
        const auto [stored] = thisRow<QJsonValue>();
        if (!stored.isUndefined())
            SharedSettings::store().set("settingsPane", stored);
        SettingsWindow w;
        QCOMPARE(w.view.page(), SettingsPage::menuBar);
        QVERIFY(qobject_cast<MenuBarPage*>(w.view.pageWidget()));
        QCOMPARE(w.selected(), QStringLiteral("Menu Bar"));
        QVERIFY(w.sidebar().selectionModel()->isSelected(w.sidebar().currentIndex()));
        // The stored value stays as it is until a page is selected.
        QCOMPARE(FormHand::stored("settingsPane"), stored);
        QTest::keyClick(&w.view, Qt::Key_1, Qt::ControlModifier);
        QCOMPARE(storedText("settingsPane"), QStringLiteral("menuBar"));
    }

    // The popovers' page is left out: its pictures have gradients and translucent grounds.
    void paintingAPageWakesNoOtherThread_data()
    {
        addRows<SettingsPage>(
            { { "menu bar", SettingsPage::menuBar }, { "general", SettingsPage::general } });
    }
    void paintingAPageWakesNoOtherThread()
    {
        const auto [page] = thisRow<SettingsPage>();
        SettingsWindow w;
        w.view.showPage(page);
        QImage image(w.view.size(), QImage::Format_RGB32);
        // A thread that waits for another thread makes a voluntary context switch.
        const auto waits = [](const std::function<void()>& paint) {
            paint(); // fills the caches
            rusage before {};
            rusage after {};
            ::getrusage(RUSAGE_THREAD, &before);
            for (int i = 0; i < 50; ++i)
                paint();
            ::getrusage(RUSAGE_THREAD, &after);
            return after.ru_nvcsw - before.ru_nvcsw;
        };
        const auto paintTranslucent = [&image] {
            QPainter painter(&image);
            painter.setRenderHint(QPainter::Antialiasing);
            painter.setBrush(QColor(0, 0, 0, 60));
            painter.drawEllipse(0, 0, 400, 400);
        };
        if (waits(paintTranslucent) < 10)
            QSKIP(
                "this build of the toolkit paints without other threads, or the system does not count waits");
        // Allow less than one wait in ten paintings, because the system itself makes a thread wait now and then.
        const auto found = waits([&w, &image] { w.view.render(&image); });
        QCOMPARE_LT(found, 5);
    }

    void theWindowReopensOnThePageLastShown()
    {
        {
            SettingsWindow w;
            w.view.selectPage(SettingsPage::general);
            QCOMPARE(storedText("settingsPane"), QStringLiteral("general"));
        }
        SettingsWindow w;
        QCOMPARE(w.view.page(), SettingsPage::general);
        QVERIFY(!qobject_cast<MenuBarPage*>(w.view.pageWidget()));
    }

    void eachPageIsShownAndTheWindowHasNoTitleOfIt()
    {
        SettingsWindow w;
        w.view.selectPage(SettingsPage::general);
        QVERIFY(qobject_cast<GeneralPage*>(w.view.pageWidget()));
        w.view.selectPage(SettingsPage::popovers);
        QVERIFY(qobject_cast<PopoversPage*>(w.view.pageWidget()));
        w.view.selectPage(SettingsPage::menuBar);
        QVERIFY(qobject_cast<MenuBarPage*>(w.view.pageWidget()));
        QCOMPARE(w.view.windowTitle(), QString());
    }

    void thePagesHaveTheirNamesAndSymbols()
    {
        QStringList pages;
        for (const auto& page : allCases<SettingsPage>())
            pages.append(
                rawValue(page.value) + u' ' + title(page.value) + u' ' + QLatin1StringView(page.symbol));
        QCOMPARE(pages.join(u'|'),
            QStringLiteral("menuBar Menu Bar menubar.rectangle|popovers Popovers macwindow|"
                           "general General gearshape"));
    }

    void theMenuBarPageBeginsWithThePreviewAlone()
    {
        SettingsWindow w;
        QWidget* page = w.view.pageWidget();
        QCOMPARE(page->findChildren<MenuBarPreview*>().size(), 1);
        Card* first = page->findChildren<Card*>().first();
        QVERIFY(first->isAncestorOf(page->findChild<MenuBarPreview*>()));
        // The first section has neither a heading nor a footnote.
        for (const QLabel* label : first->findChildren<QLabel*>())
            QVERIFY(!label->isVisible());
        QCOMPARE(first->size(), page->findChild<MenuBarPreview*>()->size());
    }

    void controlAndDigitsChoosePages()
    {
        SettingsWindow w;
        QTest::keyClick(&w.view, Qt::Key_3, Qt::ControlModifier);
        QCOMPARE(w.view.page(), SettingsPage::general);
        QCOMPARE(storedText("settingsPane"), QStringLiteral("general"));
        QTest::keyClick(&w.view, Qt::Key_1, Qt::ControlModifier);
        QCOMPARE(w.view.page(), SettingsPage::menuBar);
        QTest::keyClick(&w.view, Qt::Key_2, Qt::ControlModifier);
        QCOMPARE(w.view.page(), SettingsPage::popovers);
    }

    void aPageThatGoesLeavesTheKeyboardToTheSidebar()
    {
        SettingsWindow w;
        w.view.findChild<MenuBarStripView*>()->setFocus(Qt::TabFocusReason);
        QVERIFY(!w.sidebar().hasFocus());
        QTest::keyClick(&w.view, Qt::Key_2, Qt::ControlModifier);
        QVERIFY(w.sidebar().hasFocus());
        QTest::keyClick(w.view.focusWidget(), Qt::Key_Down);
        QCOMPARE(w.view.page(), SettingsPage::general);
    }

    void controlWAndQClose_data() { addRows<Qt::Key>({ { "W", Qt::Key_W }, { "Q", Qt::Key_Q } }); }
    void controlWAndQClose()
    {
        const auto [key] = thisRow<Qt::Key>();
        SettingsWindow w;
        QTest::keyClick(&w.view, key, Qt::ControlModifier);
        QTRY_VERIFY(!w.view.isVisible());
    }

    void anotherProgramsChoiceOfThePaneIsFollowed()
    {
        SettingsWindow w;
        SharedSettings::store().set("settingsPane", QStringLiteral("general"));
        QTRY_COMPARE(w.view.page(), SettingsPage::general);
        SharedSettings::store().set("settingsPane", QStringLiteral("nonsense"));
        QTRY_COMPARE(w.view.page(), SettingsPage::menuBar);
        QCOMPARE(storedText("settingsPane"), QStringLiteral("nonsense"));
    }

    void onlyThePageShownIsBuilt()
    {
        SettingsWindow w;
        QCOMPARE(w.view.findChildren<FormPage*>().size(), 1);
        w.view.selectPage(SettingsPage::popovers);
        QCOMPARE(w.view.findChildren<FormPage*>().size(), 1);
        QVERIFY(w.view.findChildren<MenuBarPage*>().isEmpty());
    }

    void anotherLanguageRebuildsTheWindowOnTheSamePage()
    {
        SettingsWindow w;
        w.view.selectPage(SettingsPage::general);
        SettingsWindow::speak("de");
        QTRY_COMPARE(w.selected(), QStringLiteral("Allgemein"));
        QCOMPARE(w.view.page(), SettingsPage::general);
        QCOMPARE(w.view.locale().language(), QLocale::German);
        QCOMPARE(w.view.findChildren<Sidebar*>().size(), 1);
        QTRY_VERIFY(w.split().isVisible());
        QTest::keyClick(&w.view, Qt::Key_1, Qt::ControlModifier);
        QCOMPARE(w.selected(), QStringLiteral("Menüleiste"));
    }

    void anotherLanguageLeavesTheDividerWhereItIs()
    {
        SettingsWindow w;
        w.view.resize(900, 520);
        w.dragDividerTo(260);
        const int width = w.sidebarWidth();
        SettingsWindow::speak("de");
        QTRY_COMPARE(w.selected(), QStringLiteral("Menüleiste"));
        QTRY_COMPARE(w.sidebarWidth(), width);
        QVERIFY(w.sidebar().hasFocus());
    }

    void theWindowsLocaleHasTheUsersRegion()
    {
        qputenv("LC_NUMERIC", "fr_CH.UTF-8");
        SettingsWindow w;
        QCOMPARE(w.view.locale().language(), QLocale::English);
        QCOMPARE(w.view.locale().territory(), QLocale::Switzerland);
        // The locale keeps the session's region, even if the language's code names another region.
        const TestBundle bundle("{ }", { "en", "pt-BR" });
        SettingsWindow::speak("pt-BR");
        QTRY_COMPARE(w.view.locale().language(), QLocale::Portuguese);
        QCOMPARE(w.view.locale().territory(), QLocale::Switzerland);
        qunsetenv("LC_NUMERIC");
    }

    void theWholeWindowFollowsTheScheme()
    {
        SettingsWindow w;
        for (const ColourScheme scheme : { ColourScheme::dark, ColourScheme::light }) {
            SystemAppearance::shared().setScheme(scheme);
            const QImage picture = w.view.grab().toImage();
            const auto shows = [&](QPoint place, Theme::Colour colour) {
                return picture.pixelColor(place).rgba() == Theme::colour(colour, scheme).rgba();
            };
            QVERIFY(shows({ 214, 500 }, Theme::Colour::window));
            QVERIFY(shows({ 100, 500 }, Theme::Colour::sidebar));
            QVERIFY(shows({ 230, 80 }, Theme::Colour::previewPlate));
        }
    }

    void cardsAreCentredAndNeverTooWide_data()
    {
        addRows<int, int, int>(
            { { "narrow", 459, 16, 427 }, { "ordinary", 460, 20, 420 }, { "wide", 1000, 190, 620 } });
    }
    void cardsAreCentredAndNeverTooWide()
    {
        const auto [pageWidth, left, width] = thisRow<int, int, int>();
        MenuBarPage page;
        page.resize(pageWidth, 400);
        page.show();
        const QWidget* card = page.findChild<Card*>();
        QCOMPARE(card->mapTo(&page, QPoint(0, 0)).x(), left);
        QCOMPARE(card->width(), width);
    }

    void theNoticeSpeaksTheInterfaceLanguageAndCutsNothing_data()
    {
        addRows<QString>({ { "en", "Settings are not being saved: The settings file cannot be written." },
            { "de",
                "Einstellungen werden nicht gespeichert: Die Einstellungsdatei lässt sich nicht "
                "schreiben." } });
    }
    void theNoticeSpeaksTheInterfaceLanguageAndCutsNothing()
    {
        const auto [text] = thisRow<QString>();
        SettingsWindow::speak(QTest::currentDataTag());
        const UnwritableSettings unwritable;
        SettingsWindow w;
        QCOMPARE(w.notice().accessibleName(), text);
        // The notice wraps to as many lines as it needs, even where the page is narrowest.
        const auto* label = w.notice().findChild<QLabel*>();
        QCOMPARE(label->text(), text);
        w.dragDividerTo(320);
        QTRY_VERIFY(w.sidebarWidth() > 310);
        QVERIFY(w.notice().isVisible());
        QVERIFY(label->height() >= label->heightForWidth(label->width()));
        QVERIFY(label->height() > 2 * label->fontMetrics().height());
        QCOMPARE(w.view.pageWidget()->y(), w.notice().geometry().bottom() + 1);
    }

    void aFailedSaveIsToldUntilOneSucceeds()
    {
        SettingsWindow w;
        QVERIFY(!w.notice().isVisible());
        const HeardEvents ears;
        std::optional<UnwritableSettings> unwritable(std::in_place);
        QTRY_VERIFY(w.notice().isVisible());
        const auto alerts = HeardEvents::taken(QAccessible::Alert);
        QVERIFY(!alerts.isEmpty() && alerts[0].object == &w.notice());
        // The file's name and the system's own error text are in the accessible description.
        QCOMPARE(w.notice().accessibleDescription(), SharedSettings::store().lastError());
        QCOMPARE(w.notice().toolTip(), SharedSettings::store().lastError());
        QVERIFY(!w.notice().accessibleName().contains(u'/'));
        {
            SettingsWindow another;
            QVERIFY(another.notice().isVisible());
        }
        unwritable.reset();
        QTRY_VERIFY(!w.notice().isVisible());
    }
};

KESTRUM_TEST_MAIN(QApplication, SettingsViewTest)
#include "SettingsViewTest.moc"
