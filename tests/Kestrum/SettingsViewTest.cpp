#include "Kestrum/Form/Theme.h"
#include "Kestrum/General/GeneralPage.h"
#include "Kestrum/MenuBar/MenuBarPage.h"
#include "Kestrum/MenuBar/MenuBarPreview.h"
#include "Kestrum/MenuBar/MenuBarStrip.h"
#include "Kestrum/MenuBar/MenuBarStripView.h"
#include "Kestrum/Popovers/PopoversPage.h"
#include "KestrumShared/Settings/Setting.h"
#include "KestrumShared/Text/Title.h"
#include "tests/Support/HeardEvents.h"
#include "tests/Support/SettingsWindow.h"
#include "tests/Support/TestBundle.h"
#include "tests/Support/TestHome.h"

#include <QDir>
#include <QLabel>
#include <QPainter>
#include <functional>
#include <sys/resource.h>

using namespace kestrum;

namespace {

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

} // namespace

class SettingsViewTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { SettingsWindow::prepareProgram(); }
    void init() { SettingsWindow::prepare(); }

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
        SettingsWindow w;
        QCOMPARE(w.view.page(), SettingsPage::menuBar);
        QVERIFY(qobject_cast<MenuBarPage*>(w.view.pageWidget()));
        QCOMPARE(w.sidebar().currentIndex().data().toString(), QStringLiteral("Menu Bar"));
        QVERIFY(w.sidebar().selectionModel()->isSelected(w.sidebar().currentIndex()));
        // The stored value stays as it is until a page is selected.
        QCOMPARE(SharedSettings::store().storedDictionary().value(QLatin1StringView("settingsPane")), stored);
        QTest::keyClick(&w.view, Qt::Key_1, Qt::ControlModifier);
        QCOMPARE(storedText("settingsPane"), QStringLiteral("menuBar"));
    }

    // The popovers' page is left out: its pictures have gradients and translucent grounds.
    void paintingAPageWakesNoOtherThread_data()
    {
        QTest::addColumn<SettingsPage>("page");
        QTest::newRow("menu bar") << SettingsPage::menuBar;
        QTest::newRow("general") << SettingsPage::general;
    }
    void paintingAPageWakesNoOtherThread()
    {
        QFETCH(SettingsPage, page);
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
        // Fewer than one wait in ten paintings: the system itself makes a thread wait now and then.
        const auto found = waits([&w, &image] { w.view.render(&image); });
        QVERIFY2(found < 5, qPrintable(QString::number(found)));
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
        QCOMPARE(pages,
            QStringList({ QStringLiteral("menuBar Menu Bar menubar.rectangle"),
                QStringLiteral("popovers Popovers macwindow"),
                QStringLiteral("general General gearshape") }));
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

    void controlWAndQClose_data()
    {
        QTest::addColumn<Qt::Key>("key");
        QTest::newRow("W") << Qt::Key_W;
        QTest::newRow("Q") << Qt::Key_Q;
    }

    void controlWAndQClose()
    {
        QFETCH(Qt::Key, key);
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
        Setting { Keys::language }.set(QStringLiteral("de"));
        QTRY_COMPARE(w.sidebar().currentIndex().data().toString(), QStringLiteral("Allgemein"));
        QCOMPARE(w.view.page(), SettingsPage::general);
        QCOMPARE(w.view.locale().language(), QLocale::German);
        QCOMPARE(w.view.findChildren<Sidebar*>().size(), 1);
        QTRY_VERIFY(w.view.findChild<SplitView*>()->isVisible());
        QTest::keyClick(&w.view, Qt::Key_1, Qt::ControlModifier);
        QCOMPARE(w.sidebar().currentIndex().data().toString(), QStringLiteral("Menüleiste"));
    }

    void anotherLanguageLeavesTheDividerWhereItIs()
    {
        SettingsWindow w;
        w.view.resize(900, 520);
        w.dragDividerTo(260);
        const int width = w.sidebarWidth();
        Setting { Keys::language }.set(QStringLiteral("de"));
        QTRY_COMPARE(w.sidebar().currentIndex().data().toString(), QStringLiteral("Menüleiste"));
        QTRY_COMPARE(w.sidebarWidth(), width);
        QVERIFY(w.sidebar().hasFocus());
    }

    void theWindowsLocaleHasTheUsersRegion()
    {
        qputenv("LC_NUMERIC", "fr_CH.UTF-8");
        SettingsWindow w;
        QCOMPARE(w.view.locale().language(), QLocale::English);
        QCOMPARE(w.view.locale().territory(), QLocale::Switzerland);
        // The region of the session stays, even where the language's code names another region.
        const TestBundle bundle("{ }", { "en", "pt-BR" });
        Setting { Keys::language }.set(QStringLiteral("pt-BR"));
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
            QCOMPARE(
                picture.pixelColor(214, 500).rgba(), Theme::colour(Theme::Colour::window, scheme).rgba());
            QCOMPARE(
                picture.pixelColor(100, 500).rgba(), Theme::colour(Theme::Colour::sidebar, scheme).rgba());
            QCOMPARE(picture.pixelColor(230, 80).rgba(),
                Theme::colour(Theme::Colour::previewPlate, scheme).rgba());
        }
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

    void theNoticeSpeaksTheInterfaceLanguageAndCutsNothing_data()
    {
        QTest::addColumn<QString>("text");
        QTest::newRow("en") << QStringLiteral(
            "Settings are not being saved: The settings file cannot be written.");
        QTest::newRow("de") << QStringLiteral(
            "Einstellungen werden nicht gespeichert: Die Einstellungsdatei lässt sich nicht schreiben.");
    }

    void theNoticeSpeaksTheInterfaceLanguageAndCutsNothing()
    {
        Setting { Keys::language }.set(QString::fromLatin1(QTest::currentDataTag()));
        const UnwritableSettings unwritable;
        SettingsWindow w;
        QTEST(w.notice().accessibleName(), "text");
        // The notice wraps to as many lines as it needs, even where the page is narrowest.
        const auto* label = w.notice().findChild<QLabel*>();
        QTEST(label->text(), "text");
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
