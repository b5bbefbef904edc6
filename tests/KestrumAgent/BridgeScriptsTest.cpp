// What the bridges in JavaScript share, at the real service: pictures arrive whole, and menus open and close with the popover.

#include "Platform/Desktop/WindowActivation.h"
#include "tests/Support/BridgeScriptFixture.h"
#include "tests/Support/TestHome.h"

using namespace kestrum;

using enum MonitorSection;

class BridgeScriptsTest : public QObject, BridgeScriptFixture {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { joinScripts(); }
    void init() { startBridge(); }
    void cleanup() { endBridge(); }

    void itemsComeWithTextsAndPictures()
    {
        const QJsonArray items = run(QStringLiteral("view.items")).toArray();
        const auto& ours = m_desk->strip.items().list();
        for (qsizetype i = 0; i < ours.size(); ++i) {
            const QJsonObject item = items[i].toObject();
            QCOMPARE(item[QLatin1StringView("id")].toString(), rawValue(ours[i].section));
            QCOMPARE(item[QLatin1StringView("text")].toString(), m_desk->strip.text(ours[i].section));
            QCOMPARE(item[QLatin1StringView("sum")].toString(),
                sum(StripScene::picture(
                    ours[i], ItemInk(ColourScheme::dark, Qt::white), scale, Appearance::current())));
        }
        const QString before = text("view.items[2].sum");
        QCOMPARE(text("view.items[2].id"), QStringLiteral("memory"));
        m_desk->readings->memory = 0.9;
        m_desk->strip.redraw();
        QVERIFY(isSettled());
        QVERIFY(text("view.items[2].sum") != before);
    }

    void aNewLookIsToldOnce()
    {
        const double height = run(QStringLiteral("view.items[0].height")).toDouble();
        run(QStringLiteral("agent.lookChanged(); agent.lookChanged();")); // as before: nothing
        run(QStringLiteral("view.scale = 1; agent.lookChanged();"));
        QVERIFY(becomes("view.items[0].height < 40"));
        QCOMPARE(run(QStringLiteral("view.items[0].height")).toDouble(), height / scale);
    }

    // With fractional scaling, the stage's units are points; else they are pixels, and the theme is scaled.
    void aPictureIsShownPixelForPixel_data()
    {
        QTest::addColumn<double>("theme");
        QTest::addColumn<double>("resource");
        QTest::addColumn<QString>("size");
        QTest::addColumn<QString>("place");
        QTest::newRow("plain") << 1.0 << 1.0 << "600,300"
                               << "press,60,30,0";
        QTest::newRow("scaled theme") << 2.0 << 1.0 << "600,300"
                                      << "press,30,15,0";
        QTest::newRow("scaled stage") << 1.0 << 1.5 << "400,200"
                                      << "press,60,30,0";
    }
    void aPictureIsShownPixelForPixel()
    {
        QFETCH(const double, theme);
        QFETCH(const double, resource);
        run(QStringLiteral(
            "PanelScale.theme = %1; PanelScale.resource = %2; view.pressed = null; "
            "view.picture = new PopoverPicture({point: (...words) => (view.pressed = words)}); "
            "view.picture.setPixels(null, 600, 300);")
                .arg(theme)
                .arg(resource));
        QTEST(text("view.picture.actor.size.join()"), "size");
        QCOMPARE(text("view.picture.actor.pixels.join()"), QStringLiteral("600,300"));
        run(QStringLiteral("view.picture.actor.handlers['button-press-event'](view.picture.actor, "
                           "{get_button: () => 1, get_coords: () => [60, 30]});"));
        QTEST(text("[...view.pressed.slice(0, 3), view.pressed[3] ?? 0].join()"), "place");
    }

    void aMenuOpensWithItsPicture()
    {
        run(QStringLiteral("popover.toggle('memory')"));
        QVERIFY(becomes("view.menu === 'memory'"));
        QCOMPARE(text("view.events.join()"), QStringLiteral("draw memory,open memory"));
        QCOMPARE(
            run(QStringLiteral("view.popover.width")).toDouble(), m_desk->popovers.window()->width() * scale);
        QCOMPARE(text("view.popover.text"), m_desk->popovers.window()->layout().text());
    }

    void aSmallPanelHasNoSmallPopover()
    {
        run(QStringLiteral("view.scale = 0.9; agent.lookChanged();"));
        QVERIFY(becomes("view.items[0].height < 22"));
        run(QStringLiteral("popover.toggle('memory')"));
        QVERIFY(becomes("view.menu === 'memory'"));
        QCOMPARE(
            run(QStringLiteral("view.popover.width")).toDouble(), m_desk->popovers.window()->width() * scale);
    }

    void anOpenPopoverFollowsTheScale()
    {
        run(QStringLiteral("popover.toggle('memory')"));
        QVERIFY(becomes("view.menu === 'memory'"));
        run(QStringLiteral("view.scale = view.popoverScale = 1; agent.lookChanged();"));
        const int width = m_desk->popovers.window()->width();
        QVERIFY(becomes(qPrintable(QStringLiteral("view.popover.width === %1").arg(width))));
        QCOMPARE(text("view.menu"), QStringLiteral("memory"));
    }

    void bandsMakeTheWholePicture()
    {
        run(QStringLiteral("popover.open('memory')"));
        QVERIFY(becomes("view.menu === 'memory'"));
        const QString first = text("view.popover.sum");
        m_desk->source.values.memory.pressure = 0.77;
        Q_EMIT m_desk->source.changed();
        QVERIFY(isSettled());
        const QString patched = text("view.popover.sum");
        QVERIFY(patched != first);
        run(QStringLiteral("popover.close(); popover.open('memory');"));
        QVERIFY(becomes("view.menu === 'memory'"));
        QCOMPARE(text("view.popover.sum"), patched);
    }

    void menusTurnWithoutClosingThePopover()
    {
        run(QStringLiteral("popover.open('memory')"));
        QVERIFY(becomes("view.menu === 'memory'"));
        const PopoverWindow* window = m_desk->popovers.window();
        run(QStringLiteral("popover.open('storage')")); // the pointer has gone on
        QVERIFY(becomes("view.menu === 'storage'"));
        run(QStringLiteral("popover.press(Clutter.KEY_Right, 0)")); // the agent turns
        QVERIFY(becomes("view.menu === 'sensors'"));
        QVERIFY(isSettled());
        QCOMPARE(m_desk->popovers.section(), sensors);
        QCOMPARE(m_desk->popovers.window(), window);
        QCOMPARE(text("view.events.filter(e => !e.startsWith('draw')).join()"),
            QStringLiteral("open memory,open storage,open sensors"));
    }

    void theEndOfOnePopoverIsNotThatOfTheNext()
    {
        run(QStringLiteral("popover.open('cpu')"));
        QVERIFY(becomes("view.menu === 'cpu'"));
        run(QStringLiteral("view.closeMenu('cpu'); popover.open('memory');"));
        QVERIFY(becomes("view.menu === 'memory'"));
        QVERIFY(isSettled());
        QCOMPARE(text("view.menu"), QStringLiteral("memory"));
        QCOMPARE(m_desk->popovers.section(), memory);
    }

    void aSecondClickTakesTheFirstBack()
    {
        run(QStringLiteral("popover.toggle('cpu'); popover.toggle('cpu');"));
        QVERIFY(isSettled());
        QVERIFY(!m_desk->popovers.section());
        QCOMPARE(text("view.events.join()"), QString());
    }

    void aMenuThatCannotOpenClosesThePopover()
    {
        run(QStringLiteral("view.mapped = false; popover.open('cpu');"));
        QVERIFY(becomes("view.popover"));
        QVERIFY(isSettled());
        QVERIFY(!m_desk->popovers.section());
    }

    void theAgentClosesAndAsks()
    {
        QVERIFY(m_service->requestPopover(cpu));
        QVERIFY(becomes("view.menu === 'cpu'"));
        run(QStringLiteral("popover.press(99, 4)")); // Ctrl+C
        m_desk->popovers.close();
        QVERIFY(becomes("view.menu === null"));
        QVERIFY(becomes("view.events.some(e => /^copied [1-9]/.test(e))"));
        run(QStringLiteral("popover.open('cpu')"));
        QVERIFY(becomes("view.menu === 'cpu'"));
    }

    void aChoiceInThePopoverComesBackWithAToken()
    {
        connect(&m_desk->popovers, &PopoverController::settingsRequested, m_service.get(),
            [this] { QVERIFY(m_service->requestChoice(QStringLiteral("settings"))); });
        QByteArray token;
        connect(m_menu->actions().first(), &QAction::triggered, this,
            [&] { token = WindowActivation::takeToken(); });
        run(QStringLiteral("popover.open('cpu')"));
        QVERIFY(becomes("view.menu === 'cpu'"));
        const QPointF gear = m_desk->placeOf(PanelAction::Kind::openSettings);
        for (const char* kind : { "press", "release" })
            run(QStringLiteral("popover.point('%1', %2, %3)")
                    .arg(QLatin1StringView(kind))
                    .arg(gear.x())
                    .arg(gear.y()));
        QTRY_COMPARE(token, QByteArray("a token"));
    }

    void keysHaveTheContractsNames()
    {
        const auto name = [&](int symbol, int modifiers) {
            return run(QStringLiteral("panelKeyName(%1, %2)").arg(symbol).arg(modifiers)).toString();
        };
        constexpr int shift = 1;
        constexpr int capsLock = 2;
        constexpr int control = 4;
        constexpr int alt = 8;
        QCOMPARE(name(0xff09, 0), QStringLiteral("Tab"));
        QCOMPARE(name(0xfe20, shift), QStringLiteral("Shift+Tab"));
        QCOMPARE(name(0xff0d, control), QStringLiteral("Ctrl+Return"));
        QCOMPARE(name(0xff55, 0), QStringLiteral("PgUp"));
        QCOMPARE(name('C', control | capsLock), QStringLiteral("Ctrl+C"));
        QCOMPARE(name('p', 0), QStringLiteral("P"));
        QCOMPARE(name(0xff1b, 0), QString()); // Esc closes the shell's menu
        QCOMPARE(name(0xff09, alt), QString());
        QCOMPARE(name(0x1008ff13, 0), QString()); // louder
    }
};

KESTRUM_TEST_MAIN(QApplication, BridgeScriptsTest)
#include "BridgeScriptsTest.moc"
