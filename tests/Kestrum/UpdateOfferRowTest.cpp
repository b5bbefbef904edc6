#include "Kestrum/Agent/UpdateOfferRow.h"
#include "Kestrum/Form/PushButton.h"
#include "KestrumShared/Agent/AppLinks.h"
#include "KestrumShared/Settings/Setting.h"
#include "KestrumShared/Text/AppLanguage.h"
#include "tests/Support/AgentFixture.h"
#include "tests/Support/OwnAgents.h"
#include "tests/Support/OwnProcesses.h"
#include "tests/Support/Rows.h"
#include "tests/Support/SignalRecorder.h"
#include "tests/Support/TestBundle.h"
#include "tests/Support/Text.h"
#include "tests/Support/Widgets.h"

#include <QVBoxLayout>

using namespace kestrum;

class UpdateOfferRowTest : public QObject {
    Q_OBJECT

    static void offer(const char* version)
    {
        SharedSettings::store().set(Keys::updatesAvailable.name, text(version));
    }

    /// Posts the signal for a changed offer, as the agent does.
    static void post() { SharedSettings::post(SharedSettings::Signal::updateAvailable); }

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
        ShrinkingLabel* label(const char* shownText) const { return shown<ShrinkingLabel>(text(shownText)); }
        PushButton* install() const { return shown<PushButton>(text("Install")); }
        bool isEmpty() const
        {
            for (const auto* part : row->findChildren<QWidget*>()) {
                if (part->isVisible())
                    return false;
            }
            return row->height() == 0 && above->height() + below->height() == widget.height();
        }
        QRect place(const QWidget* part) const { return { part->mapTo(row, QPoint(0, 0)), part->size() }; }
    };

    /// A visible column, with the offer `offered` or, if that pointer is null, without an offer.
    struct ShownColumn : Column {
        explicit ShownColumn(const char* offered = nullptr)
        {
            if (offered)
                offer(offered);
            show();
        }
    };

    std::unique_ptr<TestBundle> m_bundle;

    /// Makes `version` the version of the running program.
    void run(const QByteArray& version)
    {
        m_bundle.reset(); // destroy the old bundle first: its destructor restores the earlier main bundle
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

    void aNewerBuildIsOfferedWithItsVersion()
    {
        const ShownColumn column("1.5 (30)");
        QCOMPARE(column.row->offer(), text("1.5 (30)"));
        auto* title = column.label("Update available");
        auto* version = column.label("1.5 (30)");
        QVERIFY(title && looks(*title, Theme::TextStyle::callout, Theme::Colour::text));
        QVERIFY(version && looks(*version, Theme::TextStyle::caption, Theme::Colour::sidebarSecondaryText));
        QVERIFY(column.install());
    }

    void itIsShownOrTakesNoRoom_data()
    {
        const auto offered = [](const char* version) { return QJsonValue(text(version)); };
        addRows<QJsonValue, bool>({ { "nothing is offered", QJsonValue::Undefined, false },
            { "the same build", offered("1.5 (27)"), false },
            { "without a build number, another text", offered("1.5"), true },
            { "blanks inside the parentheses", offered("1.5 ( 30 )"), true },
            { "blanks around the same build", offered("1.5 ( 27 )"), false }, { "no text", 30, false } });
    }
    void itIsShownOrTakesNoRoom()
    {
        const auto [offered, isShown] = thisRow<QJsonValue, bool>();
        if (!offered.isUndefined())
            SharedSettings::store().set(Keys::updatesAvailable.name, offered);
        const ShownColumn column;
        QCOMPARE(column.row->offer(), isShown ? std::optional(offered.toString()) : std::nullopt);
        QCOMPARE(column.isEmpty(), !isShown);
        QCOMPARE(column.shown<ShrinkingLabel>(offered.toString()) != nullptr, isShown);
        offer("1.5 ( 27 )");
        column.row->read();
        QCOMPARE(column.row->offer(), std::nullopt);
    }

    void aStaleOfferAfterTheUpdateShowsNothing()
    {
        run("CFBundleShortVersionString = 1.5; CFBundleVersion = 30;");
        const ShownColumn column("1.5 (30)");
        QVERIFY(column.isEmpty());
        // The row never removes the offer that the agent stored.
        QCOMPARE(storedText(Keys::updatesAvailable.name), text("1.5 (30)"));
    }

    void theRowDisappearsAtOnceWhenTheOfferIsWithdrawn()
    {
        const ShownColumn column("1.5 (30)");
        QVERIFY(column.row->height() > 0);
        SharedSettings::store().remove(Keys::updatesAvailable.name);
        post();
        QTRY_COMPARE_WITH_TIMEOUT(column.row->offer(), std::nullopt, 1000);
        QTRY_VERIFY_WITH_TIMEOUT(column.isEmpty(), 100);
    }

    void theRowAppearsWhenTheAgentTells()
    {
        const ShownColumn column;
        QVERIFY(column.isEmpty());
        offer("1.5 (30)");
        QTest::qWait(quietTime);
        QVERIFY(column.isEmpty()); // the row reads the offer only at the agent's signal
        post();
        QTRY_VERIFY_WITH_TIMEOUT(column.label("1.5 (30)"), 1000);
        offer("1.6 (31)");
        post();
        QTRY_VERIFY_WITH_TIMEOUT(column.label("1.6 (31)"), 1000);
        QVERIFY(!column.label("1.5 (30)"));
    }

    void itLooksEachTimeItAppears()
    {
        Column column;
        QCOMPARE(column.row->offer(), std::nullopt);
        offer("1.5 (30)");
        QCOMPARE(column.row->offer(), std::nullopt);
        column.show();
        QCOMPARE(column.row->offer(), text("1.5 (30)"));
        column.widget.hide();
        offer("1.6 (31)");
        QCOMPARE(column.row->offer(), text("1.5 (30)"));
        column.show();
        QCOMPARE(column.row->offer(), text("1.6 (31)"));
    }

    void itListensFromItsFirstAppearance()
    {
        Column column;
        offer("1.5 (30)");
        post();
        QTest::qWait(quietTime);
        QCOMPARE(column.row->offer(), std::nullopt);
        column.show();
        // The row's listeners live as long as the row, so a hidden row still follows.
        column.widget.hide();
        offer("1.6 (31)");
        post();
        QTRY_COMPARE_WITH_TIMEOUT(column.row->offer(), text("1.6 (31)"), 1000);
    }

    void anOfferWithoutAVersionHasOneLine_data()
    {
        addRows<QString>({ { "empty", "" }, { "blank", " \t " } });
    }
    void anOfferWithoutAVersionHasOneLine()
    {
        const auto [version] = thisRow<QString>();
        const ShownColumn column(version.toLatin1().constData());
        QCOMPARE(column.row->offer(), version);
        auto* title = column.label("Update available");
        QVERIFY(title);
        QVERIFY(!column.shown<ShrinkingLabel>(version));
        // The title is centred vertically in the 52 points below the divider.
        QCOMPARE_LE(std::abs(column.place(title).center().y() - (1 + 26)), 1);
    }

    void itsPartsStandInTheirOrder()
    {
        for (const auto direction : { Qt::LeftToRight, Qt::RightToLeft }) {
            offer("1.5 (30)");
            Column column;
            column.widget.setLayoutDirection(direction);
            column.show();
            QCOMPARE(column.row->height(), 1 + 52);
            QRect title = column.place(column.label("Update available"));
            QRect version = column.place(column.label("1.5 (30)"));
            QRect button = column.place(column.install());
            QCOMPARE_LE(std::abs(button.center().y() - (1 + 26)), 1);
            QCOMPARE_LE(std::abs((title.top() + version.bottom()) / 2 - (1 + 26)), 1);
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
        const ShownColumn column("1.5 (30)");
        column.row->setAutoFillBackground(true);
        for (const ColourScheme scheme : { ColourScheme::dark, ColourScheme::light }) {
            SystemAppearance::shared().setScheme(scheme);
            const QColor ground = Theme::colour(Theme::Colour::sidebar);
            column.row->setPalette(QPalette(Qt::black, ground));
            const QImage image = column.row->grab().toImage();
            const QRect symbol = pixelsOf(image, Theme::colour(Theme::Colour::offer)).place;
            QVERIFY(symbol.left() >= 10 && symbol.right() < 10 + 18);
            QVERIFY(symbol.width() >= 11 && symbol.height() >= 11);
            QCOMPARE_LE(std::abs(symbol.center().y() - (1 + 26)), 1);
            const QColor line = image.pixelColor(image.width() / 2, 0);
            QVERIFY(line != ground);
            QCOMPARE(image.pixelColor(0, 0), line);
            QCOMPARE(image.pixelColor(image.width() - 1, 0), line);
            QCOMPARE(image.pixelColor(0, 1), ground);
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
        offer("1.5 (30)");
        Column column;
        column.widget.resize(204, 300);
        column.show();
        const auto* title = column.shown<ShrinkingLabel>(AppLanguage::string("Update available"));
        QCOMPARE(title->shownText(), title->text());
        QCOMPARE(title->shownFont().pointSizeF(), Theme::font(Theme::TextStyle::callout).pointSizeF());
        QVERIFY(title->height() >= title->sizeHint().height());
        const auto* version = column.label("1.5 (30)");
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
        const ShownColumn column("99.5 (9999999)");
        QVERIFY(column.label("Neue Version"));
        QVERIFY(column.shown<PushButton>(text("Installieren")));
        QVERIFY(column.label("99.5 (9999999)"));
    }

    void installStartsTheAgentAndAsksItToCheck()
    {
        const AgentFixture fixture;
        fixture.installAgent();
        const ShownColumn column("1.5 (30)");
        const Ear asked(SharedSettings::suiteName() + QStringLiteral(".checkForUpdates"));
        QTest::mouseClick(column.install(), Qt::LeftButton);
        QTRY_COMPARE(asked.count, 1);
        fixture.waitForAgent();
        // The offer stays until the agent withdraws it, and the row has written nothing.
        QCOMPARE(column.row->offer(), text("1.5 (30)"));
        QCOMPARE(SharedSettings::store().storedDictionary().keys(),
            QStringList { text(Keys::updatesAvailable.name) });
    }

    void aWindowThatComesBackFromItsIconWasNeverGone()
    {
        const ShownColumn column;
        offer("1.5 (30)");
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
        AppLinks::launchAgentIfNeeded(0);
        fixture.waitForAgent();
        const ShownColumn column("1.5 (30)");
        AppLinks::stopAgent();
        QTest::mouseClick(column.install(), Qt::LeftButton);
        QTRY_COMPARE_WITH_TIMEOUT(fixture.everStarted().size(), 2, 4000);
        qunsetenv("KESTRUM_TEST_AGENT");
    }

    void theButtonIsReachedByKeyboardAndNamed()
    {
        const ShownColumn column("1.5 (30)");
        auto* button = column.install();
        QCOMPARE(heard(button), text("Button Install"));
        QVERIFY(button->focusPolicy() & Qt::TabFocus);
    }
};

KESTRUM_TEST_MAIN_APART(QApplication, UpdateOfferRowTest)
#include "UpdateOfferRowTest.moc"
