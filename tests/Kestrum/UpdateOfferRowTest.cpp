#include "Kestrum/Agent/UpdateOfferRow.h"
#include "Kestrum/Form/PushButton.h"
#include "Kestrum/Form/ShrinkingLabel.h"
#include "KestrumShared/Agent/AppLinks.h"
#include "KestrumShared/Settings/Setting.h"
#include "KestrumShared/Text/AppLanguage.h"
#include "tests/Support/AgentFixture.h"
#include "tests/Support/LabelLooks.h"
#include "tests/Support/OwnAgents.h"
#include "tests/Support/OwnProcesses.h"
#include "tests/Support/SignalRecorder.h"
#include "tests/Support/TestBundle.h"
#include "tests/Support/Text.h"

#include <QAccessible>
#include <QLabel>
#include <QShowEvent>
#include <QVBoxLayout>
#include <qtestspontaneevent.h>

using namespace kestrum;

namespace {

/// A column like the sidebar's, with the row at its foot between other widgets.
struct Column {
    QWidget widget;
    QWidget* above = new QWidget;
    UpdateOfferRow* row = new UpdateOfferRow;
    QWidget* below = new QWidget;

    Column()
    {
        auto* layout = new QVBoxLayout(&widget);
        layout->setContentsMargins(0, 0, 0, 0);
        layout->setSpacing(0);
        layout->addWidget(above, 1);
        layout->addWidget(row);
        layout->addWidget(below);
        below->setFixedHeight(52);
        widget.resize(260, 300);
    }
    void show()
    {
        widget.show();
        QVERIFY(QTest::qWaitForWindowExposed(&widget));
    }
    template <class Widget> Widget* shown(const QString& text) const
    {
        for (auto* part : row->findChildren<Widget*>()) {
            if (part->text() == text && part->isVisible())
                return part;
        }
        return nullptr;
    }
    bool isEmpty() const
    {
        for (const auto* part : row->findChildren<QWidget*>()) {
            if (part->isVisible())
                return false;
        }
        return row->height() == 0 && above->height() + below->height() == widget.height();
    }
    QRect place(const QWidget* part) const { return { part->mapTo(row, QPoint(0, 0)), part->size() }; }
    QImage picture() const { return row->grab().toImage(); }
};

void offer(const QString& version)
{
    SharedSettings::store().set(Keys::updatesAvailable.name, version);
}

} // namespace

class UpdateOfferRowTest : public QObject {
    Q_OBJECT

    std::unique_ptr<TestBundle> m_bundle;

    /// From now on the running program has this version.
    void run(const QByteArray& version)
    {
        m_bundle.reset(); // its destructor restores the earlier main bundle, so it goes first
        m_bundle = std::make_unique<TestBundle>(version, QList<QByteArray> { "en" });
    }

private Q_SLOTS:
    void initTestCase() { skipAmongAgentsOfOthers(); }
    void init()
    {
        QApplication::setStyle(QStringLiteral("fusion"));
        SystemAppearance::shared().setScheme(ColourScheme::light);
        forgetSettings();
        registerFactoryDefaults();
        run("CFBundleShortVersionString = 1.4; CFBundleVersion = 27;");
    }
    void cleanupTestCase() { m_bundle.reset(); }

    void withoutAnOfferItTakesNoRoom()
    {
        Column column;
        column.show();
        QCOMPARE(column.row->offer(), std::nullopt);
        QVERIFY(column.isEmpty());
    }

    void aNewerBuildIsOfferedWithItsVersion()
    {
        offer(text("1.5 (30)"));
        Column column;
        column.show();
        QCOMPARE(column.row->offer(), text("1.5 (30)"));
        auto* title = column.shown<ShrinkingLabel>(text("Update available"));
        auto* version = column.shown<ShrinkingLabel>(text("1.5 (30)"));
        QVERIFY(title && looks(*title, Theme::TextStyle::callout, Theme::Colour::text));
        QVERIFY(version && looks(*version, Theme::TextStyle::caption, Theme::Colour::sidebarSecondaryText));
        QVERIFY(column.shown<PushButton>(text("Install")));
    }

    void theSameBuildIsNoOffer()
    {
        offer(text("1.5 (27)"));
        Column column;
        column.show();
        QCOMPARE(column.row->offer(), std::nullopt);
        QVERIFY(column.isEmpty());
    }

    void anOfferWithoutABuildNumberShowsWhereItsTextIsAnother()
    {
        offer(text("1.5"));
        Column column;
        column.show();
        QCOMPARE(column.row->offer(), text("1.5"));
        QVERIFY(column.shown<ShrinkingLabel>(text("1.5")));
    }

    void blanksInsideTheParenthesesAreNoMatter()
    {
        offer(text("1.5 ( 30 )"));
        Column column;
        column.show();
        QVERIFY(column.shown<ShrinkingLabel>(text("1.5 ( 30 )")));
        offer(text("1.5 ( 27 )"));
        column.row->read();
        QCOMPARE(column.row->offer(), std::nullopt);
    }

    void aStaleOfferAfterTheUpdateShowsNothing()
    {
        offer(text("1.5 (30)"));
        run("CFBundleShortVersionString = 1.5; CFBundleVersion = 30;");
        Column column;
        column.show();
        QVERIFY(column.isEmpty());
        // The row never removes the offer that the agent stored.
        QCOMPARE(storedText(Keys::updatesAvailable.name), text("1.5 (30)"));
    }

    void theRowDisappearsAtOnceWhenTheOfferIsWithdrawn()
    {
        offer(text("1.5 (30)"));
        Column column;
        column.show();
        QVERIFY(column.row->height() > 0);
        SharedSettings::store().remove(Keys::updatesAvailable.name);
        SharedSettings::post(SharedSettings::Signal::updateAvailable);
        QTRY_COMPARE_WITH_TIMEOUT(column.row->offer(), std::nullopt, 1000);
        QTRY_VERIFY_WITH_TIMEOUT(column.isEmpty(), 100);
    }

    void theRowAppearsWhenTheAgentTells()
    {
        Column column;
        column.show();
        QVERIFY(column.isEmpty());
        offer(text("1.5 (30)"));
        QTest::qWait(quietTime);
        QVERIFY(column.isEmpty()); // the row reads the offer only when the signal comes
        SharedSettings::post(SharedSettings::Signal::updateAvailable);
        QTRY_VERIFY_WITH_TIMEOUT(column.shown<ShrinkingLabel>(text("1.5 (30)")), 1000);
        offer(text("1.6 (31)"));
        SharedSettings::post(SharedSettings::Signal::updateAvailable);
        QTRY_VERIFY_WITH_TIMEOUT(column.shown<ShrinkingLabel>(text("1.6 (31)")), 1000);
        QVERIFY(!column.shown<ShrinkingLabel>(text("1.5 (30)")));
    }

    void itLooksEachTimeItAppears()
    {
        Column column;
        QCOMPARE(column.row->offer(), std::nullopt);
        offer(text("1.5 (30)"));
        QCOMPARE(column.row->offer(), std::nullopt);
        column.show();
        QCOMPARE(column.row->offer(), text("1.5 (30)"));
        column.widget.hide();
        offer(text("1.6 (31)"));
        QCOMPARE(column.row->offer(), text("1.5 (30)"));
        column.show();
        QCOMPARE(column.row->offer(), text("1.6 (31)"));
    }

    void itListensFromItsFirstAppearance()
    {
        Column column;
        offer(text("1.5 (30)"));
        SharedSettings::post(SharedSettings::Signal::updateAvailable);
        QTest::qWait(quietTime);
        QCOMPARE(column.row->offer(), std::nullopt);
        column.show();
        // The row's listeners live as long as the row, so a hidden row still follows.
        column.widget.hide();
        offer(text("1.6 (31)"));
        SharedSettings::post(SharedSettings::Signal::updateAvailable);
        QTRY_COMPARE_WITH_TIMEOUT(column.row->offer(), text("1.6 (31)"), 1000);
    }

    void aValueThatIsNoTextIsNoOffer()
    {
        SharedSettings::store().set(Keys::updatesAvailable.name, 30);
        Column column;
        column.show();
        QVERIFY(column.isEmpty());
    }

    void anOfferWithoutAVersionHasOneLine_data()
    {
        QTest::addColumn<QString>("version");
        QTest::newRow("empty") << QString();
        QTest::newRow("blank") << text(" \t ");
    }
    void anOfferWithoutAVersionHasOneLine()
    {
        QFETCH(QString, version);
        offer(version);
        Column column;
        column.show();
        QCOMPARE(column.row->offer(), version);
        auto* title = column.shown<ShrinkingLabel>(text("Update available"));
        QVERIFY(title);
        QVERIFY(!column.shown<ShrinkingLabel>(version));
        // The title is centred vertically in the 52 points below the divider.
        QVERIFY(std::abs(column.place(title).center().y() - (1 + 26)) <= 1);
    }

    void itsPartsStandInTheirOrder()
    {
        for (const auto direction : { Qt::LeftToRight, Qt::RightToLeft }) {
            offer(text("1.5 (30)"));
            Column column;
            column.widget.setLayoutDirection(direction);
            column.show();
            QCOMPARE(column.row->height(), 1 + 52);
            QRect title = column.place(column.shown<ShrinkingLabel>(text("Update available")));
            QRect version = column.place(column.shown<ShrinkingLabel>(text("1.5 (30)")));
            QRect button = column.place(column.shown<PushButton>(text("Install")));
            QVERIFY(std::abs(button.center().y() - (1 + 26)) <= 1);
            QVERIFY(std::abs((title.top() + version.bottom()) / 2 - (1 + 26)) <= 1);
            QVERIFY(version.top() > title.bottom());
            if (direction == Qt::RightToLeft) {
                const int width = column.row->width();
                for (QRect* part : { &title, &version, &button })
                    part->moveLeft(width - part->right() - 1);
            }
            QCOMPARE(button.right(), column.row->width() - 10 - 1);
            QCOMPARE(version.left(), title.left());
            QVERIFY(title.right() < button.left());
            QVERIFY(title.left() >= 10 + 15);
        }
    }

    void theSymbolIsGreenAndTheDividerAHairline()
    {
        offer(text("1.5 (30)"));
        Column column;
        for (const ColourScheme scheme : { ColourScheme::light, ColourScheme::dark }) {
            SystemAppearance::shared().setScheme(scheme);
            column.show();
            column.row->setAutoFillBackground(true);
            column.row->setPalette(QPalette(Qt::white));
            QPalette ground;
            ground.setColor(QPalette::Window, Theme::colour(Theme::Colour::sidebar));
            column.row->setPalette(ground);
            const QImage image = column.picture();
            const QColor green = Theme::colour(Theme::Colour::offer);
            QRect symbol;
            for (int y = 0; y < image.height(); ++y) {
                for (int x = 0; x < image.width(); ++x) {
                    if (image.pixelColor(x, y) == green)
                        symbol |= QRect(x, y, 1, 1);
                }
            }
            QVERIFY(symbol.left() >= 10 && symbol.right() < 10 + 18);
            QVERIFY(symbol.width() >= 11 && symbol.height() >= 11);
            QVERIFY(std::abs(symbol.center().y() - (1 + 26)) <= 1);
            const QColor line = image.pixelColor(image.width() / 2, 0);
            QVERIFY(line != ground.color(QPalette::Window));
            QCOMPARE(image.pixelColor(0, 0), line);
            QCOMPARE(image.pixelColor(image.width() - 1, 0), line);
            QCOMPARE(image.pixelColor(0, 1), ground.color(QPalette::Window));
        }
    }

    void theTitleIsReadInFullSizeInTheNarrowestSidebar_data()
    {
        QTest::addColumn<QString>("language");
        Bundle::setMain(Bundle(qEnvironmentVariable("KESTRUM_BUILD") + QStringLiteral("/Kestrum.app")));
        for (const auto& language : AppLanguage::available())
            QTest::newRow(qPrintable(language.first)) << language.first;
    }
    void theTitleIsReadInFullSizeInTheNarrowestSidebar()
    {
        QFETCH(const QString, language);
        Bundle::setMain(Bundle(qEnvironmentVariable("KESTRUM_BUILD") + QStringLiteral("/Kestrum.app")));
        Setting { Keys::language }.set(language);
        offer(text("1.5 (30)"));
        Column column;
        column.widget.resize(204, 300);
        column.show();
        const auto* title = column.shown<ShrinkingLabel>(AppLanguage::string("Update available"));
        QCOMPARE(title->shownText(), title->text());
        QCOMPARE(title->shownFont().pointSizeF(), Theme::font(Theme::TextStyle::callout).pointSizeF());
        QVERIFY(title->height() >= title->sizeHint().height());
        const auto* version = column.shown<ShrinkingLabel>(text("1.5 (30)"));
        QVERIFY(version->height() >= version->sizeHint().height());
        QVERIFY(column.place(version).top() > column.place(title).bottom());
        // The button keeps its width; the texts shrink.
        const auto* button = column.shown<PushButton>(AppLanguage::string("Install"));
        QCOMPARE(button->width(), button->sizeHint().width());
        QCOMPARE(column.row->height(), 1 + 52);
    }

    void itSpeaksTheInterfaceLanguage()
    {
        Bundle::setMain(Bundle(qEnvironmentVariable("KESTRUM_BUILD") + QStringLiteral("/Kestrum.app")));
        Setting { Keys::language }.set(text("de"));
        offer(text("99.5 (9999999)"));
        Column column;
        column.show();
        QVERIFY(column.shown<ShrinkingLabel>(text("Neue Version")));
        QVERIFY(column.shown<PushButton>(text("Installieren")));
        QVERIFY(column.shown<ShrinkingLabel>(text("99.5 (9999999)")));
    }

    void installStartsTheAgentAndAsksItToCheck()
    {
        const AgentFixture fixture;
        fixture.installAgent();
        offer(text("1.5 (30)"));
        Column column;
        column.show();
        const Ear asked(SharedSettings::suiteName() + QStringLiteral(".checkForUpdates"));
        QTest::mouseClick(column.shown<PushButton>(text("Install")), Qt::LeftButton);
        QTRY_COMPARE(asked.count, 1);
        fixture.waitForAgent();
        // The offer stays until the agent withdraws it, and the row has written nothing.
        QCOMPARE(column.row->offer(), text("1.5 (30)"));
        QCOMPARE(SharedSettings::store().storedDictionary().keys(),
            QStringList { text(Keys::updatesAvailable.name) });
    }

    void aWindowThatComesBackFromItsIconWasNeverGone()
    {
        Column column;
        column.show();
        offer(text("1.5 (30)"));
        QShowEvent back;
        QSpontaneKeyEvent::setSpontaneous(&back);
        QCoreApplication::instance()->notify(column.row, &back);
        QCOMPARE(column.row->offer(), std::nullopt);
    }

    void installWaitsForAnAgentThatIsAboutToQuit()
    {
        const AgentFixture fixture;
        qputenv("KESTRUM_TEST_AGENT", "1700");
        fixture.installAgent();
        Column column;
        AppLinks::launchAgentIfNeeded(0);
        fixture.waitForAgent();
        offer(text("1.5 (30)"));
        column.show();
        AppLinks::stopAgent();
        QTest::mouseClick(column.shown<PushButton>(text("Install")), Qt::LeftButton);
        QTRY_COMPARE_WITH_TIMEOUT(fixture.everStarted().size(), 2, 4000);
        qunsetenv("KESTRUM_TEST_AGENT");
    }

    void theButtonIsReachedByKeyboardAndNamed()
    {
        offer(text("1.5 (30)"));
        Column column;
        column.show();
        auto* button = column.shown<PushButton>(text("Install"));
        QAccessibleInterface* accessible = QAccessible::queryAccessibleInterface(button);
        QCOMPARE(accessible->role(), QAccessible::Button);
        QCOMPARE(accessible->text(QAccessible::Name), text("Install"));
        QVERIFY(button->focusPolicy() & Qt::TabFocus);
    }
};

KESTRUM_TEST_MAIN_APART(QApplication, UpdateOfferRowTest)
#include "UpdateOfferRowTest.moc"
