// The widget's part that speaks with the agent: it shows what the agent has, and believes nobody else.

#include "KestrumAgent/Bridge/BridgeStand.h"
#include "KestrumAgent/Bridge/PanelService.h"
#include "KestrumShared/Settings/MeterSettings.h"
#include "bridges/plasma/plugin/AgentClient.h"
#include "tests/Support/PopoverDesk.h"
#include "tests/Support/SessionBus.h"
#include "tests/Support/TestHome.h"

#include <QClipboard>
#include <QDBusMessage>
#include <QMenu>
#include <QPainter>
#include <QSignalSpy>
#include <QTest>
#include <cmath>
#include <limits>

using namespace kestrum;

using enum MonitorSection;

/// Keeps the last signal that came over the bus.
class HeardSignal : public QObject {
    Q_OBJECT
public:
    QDBusMessage last;

public Q_SLOTS:
    void hear(const QDBusMessage& message) { last = message; }
};

class PlasmaBridgeTest : public QObject {
    Q_OBJECT

    static constexpr auto ownConnection = "plasma-test";
    static constexpr auto strangerConnection = "plasma-stranger";

    std::unique_ptr<SessionBus> m_bus;
    std::unique_ptr<Desk> m_desk;
    std::unique_ptr<QMenu> m_menu;
    std::unique_ptr<PanelService> m_service;
    HeardSignal m_heard;

    static QDBusConnection own() { return QDBusConnection(QString::fromLatin1(ownConnection)); }
    static QDBusConnection stranger() { return QDBusConnection(QString::fromLatin1(strangerConnection)); }

    void startAgent()
    {
        m_service = std::make_unique<PanelService>(m_desk->strip, m_desk->popovers, *m_menu);
        QSignalSpy settled(m_service.get(), &PanelService::settled);
        m_service->start();
        QVERIFY(QTest::qWaitFor([&] { return settled.size() == 1; }));
    }
    /// A client that has the items.
    std::unique_ptr<AgentClient> client()
    {
        auto made = std::make_unique<AgentClient>(own());
        (void)QTest::qWaitFor([&] { return made->items().rowCount() == 4; });
        return made;
    }
    /// The message as it comes out of the bus; of another type than a signal if it does not come.
    QDBusMessage received(const char* name, const QVariantList& arguments)
    {
        m_heard.last = {};
        QDBusMessage message = QDBusMessage::createTargetedSignal(
            own().baseService(), PanelContract::path, PanelContract::interface, QString::fromLatin1(name));
        message.setArguments(arguments);
        stranger().send(message);
        (void)QTest::qWaitFor([this] { return m_heard.last.type() == QDBusMessage::SignalMessage; }, 2000);
        return m_heard.last;
    }
    QDBusMessage itemsOf(const QList<PanelItem>& items)
    {
        return received("Items", { 1U, QVariant::fromValue(items) });
    }
    QDBusMessage popoverOf(QSize size, const QList<PanelBand>& bands)
    {
        const QString text = QStringLiteral("text");
        return received("Popover",
            { 1U, QStringLiteral("cpu"), text, text, size.width(), size.height(),
                QVariant::fromValue(bands) });
    }
    static PanelItem item(int width, int height, qsizetype bytes)
    {
        return { QStringLiteral("cpu"), 0, 20, QStringLiteral("CPU"), width, height,
            QByteArray(bytes, '\x7f') };
    }
    /// The image as it goes over the bus.
    static QImage pixels(const QImage& image)
    {
        QImage plain = image.convertToFormat(QImage::Format_RGBA8888_Premultiplied);
        plain.setDevicePixelRatio(1);
        return plain;
    }
    static QVariantMap entry(const AgentClient& client, int index)
    {
        return client.actions().value(index).toMap();
    }

private Q_SLOTS:
    void initTestCase()
    {
        qputenv("QT_LOGGING_RULES", "*.info=false\ncom.orvale.kestrum.panel=false");
        qputenv("DBUS_SYSTEM_BUS_ADDRESS", "disabled:");
        m_bus = std::make_unique<SessionBus>(SessionBus::Services::none);
        QVERIFY(m_bus->isUp());
        PanelContract::registerTypes();
        for (const char* name : { ownConnection, strangerConnection })
            QVERIFY(QDBusConnection::connectToBus(m_bus->address(), QString::fromLatin1(name)).isConnected());
        for (const char* name : { "Items", "Popover" })
            QVERIFY(own().connect(stranger().baseService(), PanelContract::path, PanelContract::interface,
                QString::fromLatin1(name), &m_heard, SLOT(hear(QDBusMessage))));
    }
    void cleanupTestCase()
    {
        QDBusConnection::disconnectFromBus(QString::fromLatin1(ownConnection));
        QDBusConnection::disconnectFromBus(QString::fromLatin1(strangerConnection));
    }
    void init()
    {
        if (!DrawingFixture::prepare())
            QFAIL(DrawingFixture::noFont);
        SystemAppearance::shared().setScheme(ColourScheme::light);
        m_desk = std::make_unique<Desk>();
        m_menu = std::make_unique<QMenu>();
        m_menu->addAction(QStringLiteral("Open"))->setObjectName(QStringLiteral("settings"));
        startAgent();
    }
    void cleanup()
    {
        m_service.reset();
        m_menu.reset();
        m_desk.reset();
    }

    void theItemsAreTheAgents()
    {
        const auto plasma = client();
        PanelItems& items = plasma->items();
        for (int i = 0; i < 4; ++i) {
            const PanelStrip::Item& ours = m_desk->strip.items().list()[i];
            const QModelIndex row = items.index(i);
            QCOMPARE(items.id(i), rawValue(ours.section));
            QCOMPARE(row.data(PanelItems::textRole).toString(), m_desk->strip.text(ours.section));
            QCOMPARE(row.data(PanelItems::widthRole).toDouble(), ours.view->frame().width());
            const QImage picture = StripScene::picture(ours, ColourScheme::light, 1, Appearance::current());
            QCOMPARE(row.data(PanelItems::pictureRole).value<QImage>(), pixels(picture));
        }
        const auto& list = m_desk->strip.items().list();
        QCOMPARE(items.gap(), list[1].view->frame().x() - list[0].view->frame().right());
    }

    void theLookDecidesScaleAndColour()
    {
        const auto plasma = client();
        const auto picture
            = [&] { return plasma->items().index(0).data(PanelItems::pictureRole).value<QImage>(); };
        const QImage before = picture();
        plasma->setForeground(Qt::white);
        plasma->setScale(2);
        QVERIFY(QTest::qWaitFor([&] { return picture().height() == 2 * before.height(); }));
        const PanelStrip::Item& first = m_desk->strip.items().list()[0];
        QCOMPARE(picture(),
            pixels(StripScene::picture(
                first, ItemInk(ColourScheme::dark, Qt::white), 2, Appearance::current())));
    }

    void aSmallPictureIsTheWholeItem()
    {
        const PanelStrip::Item& item = *m_desk->strip.items().item(memory);
        const auto picture = [&](double scale) {
            return StripScene::picture(item, ColourScheme::light, scale, Appearance::current());
        };
        const QImage small = picture(0.5);
        const QImage large = picture(2).scaled(small.size(), Qt::IgnoreAspectRatio, Qt::SmoothTransformation);
        double difference = 0;
        double ink = 0;
        for (int y = 0; y < small.height(); ++y) {
            for (int x = 0; x < small.width(); ++x) {
                difference += std::abs(qAlpha(small.pixel(x, y)) - qAlpha(large.pixel(x, y)));
                ink += qAlpha(large.pixel(x, y));
            }
        }
        QVERIFY2(difference < 0.8 * ink, qPrintable(QString::number(difference / ink)));
    }

    void anItemThatMovesStaysTheSameRow()
    {
        const auto plasma = client();
        PanelItems& items = plasma->items();
        const QPersistentModelIndex first(items.index(0));
        const QString id = items.id(0);
        const QImage picture = first.data(PanelItems::pictureRole).value<QImage>();
        QVERIFY(!picture.isNull());
        QSignalSpy resets(&items, &PanelItems::modelReset);
        plasma->requestActions(id);
        QVERIFY(QTest::qWaitFor([&] { return !plasma->actions().isEmpty(); }));
        plasma->choose(QStringLiteral("move-right"), {});
        const QList<MonitorSection> before = m_desk->strip.items().sections();
        QVERIFY(QTest::qWaitFor([&] { return MeterSettings::storedOrder() != before; }));
        m_desk->strip.rebuild();
        m_desk->strip.redraw();
        QVERIFY(QTest::qWaitFor([&] { return items.id(1) == id; }));
        QCOMPARE(first.row(), 1);
        QCOMPARE(resets.size(), 0);
        QVERIFY(!first.data(PanelItems::pictureRole).value<QImage>().isNull());
        QVERIFY(MeterSettings::setMenuBarOrder(before));
    }

    void aPopoverOpensTurnsAndCloses()
    {
        const auto plasma = client();
        plasma->setPopoverScale(2);
        plasma->openPopover(QStringLiteral("cpu"));
        QVERIFY(QTest::qWaitFor([&] { return plasma->popoverItem() == QStringLiteral("cpu"); }));
        QCOMPARE(plasma->popoverPicture().size(), m_desk->popovers.window()->size() * 2);
        QVERIFY(plasma->popoverText().contains(QStringLiteral("CPU")));

        plasma->openPopover(QStringLiteral("memory"));
        QCOMPARE(plasma->popoverItem(), QStringLiteral("cpu")); // until the other picture is there
        QVERIFY(QTest::qWaitFor([&] { return plasma->popoverItem() == QStringLiteral("memory"); }));

        QVERIFY(plasma->pressKey(Qt::Key_Left, 0)); // the popover turns by itself
        QVERIFY(QTest::qWaitFor([&] { return plasma->openItem() != QStringLiteral("memory"); }));
        QCOMPARE(plasma->openItem(), rawValue(*m_desk->popovers.section()));
        QVERIFY(!plasma->pressKey(Qt::Key_Shift, 0));

        QVERIFY(plasma->pressKey(Qt::Key_Escape, 0));
        QVERIFY(QTest::qWaitFor([&] { return plasma->openItem().isEmpty(); }));
        QVERIFY(plasma->popoverPicture().isNull());
    }

    void whatIsOpenedRightAfterClosingStaysOpen()
    {
        const auto plasma = client();
        plasma->openPopover(QStringLiteral("cpu"));
        QVERIFY(QTest::qWaitFor([&] { return plasma->popoverItem() == QStringLiteral("cpu"); }));
        plasma->closePopover();
        QVERIFY(plasma->popoverItem().isEmpty());
        plasma->openPopover(QStringLiteral("memory"));
        QVERIFY(QTest::qWaitFor([&] { return plasma->popoverItem() == QStringLiteral("memory"); }));
        // All that was on its way has come when the answer is there.
        plasma->requestActions({});
        QVERIFY(QTest::qWaitFor([&] { return !plasma->actions().isEmpty(); }));
        QCOMPARE(plasma->popoverItem(), QStringLiteral("memory"));
        QCOMPARE(m_desk->popovers.section(), std::optional(memory));
    }

    void anItemThatIsNotShownOpensNothing()
    {
        const auto plasma = client();
        plasma->openPopover(QStringLiteral("rubbish"));
        QVERIFY(QTest::qWaitFor([&] { return plasma->openItem().isEmpty(); }));
        QVERIFY(!m_desk->popovers.section());
    }

    void tabBeginsWithTheFirstElementAndShiftTabWithTheLast()
    {
        const auto plasma = client();
        const auto focusAfter = [&](int key, int modifiers) {
            plasma->openPopover(QStringLiteral("cpu"));
            (void)QTest::qWaitFor([&] { return plasma->popoverItem() == QStringLiteral("cpu"); });
            const QString whole = plasma->popoverText();
            plasma->pressKey(key, modifiers);
            (void)QTest::qWaitFor([&] { return plasma->popoverText() != whole; });
            const QString focused = plasma->popoverText();
            plasma->closePopover();
            (void)QTest::qWaitFor([&] { return !m_desk->popovers.section(); });
            return focused;
        };
        const QString first = focusAfter(Qt::Key_Tab, 0);
        QVERIFY(!first.isEmpty());
        QVERIFY(focusAfter(Qt::Key_Backtab, int(Qt::ShiftModifier)) != first);
    }

    void whatTheUserCopiesIsOnTheClipboard()
    {
        const auto plasma = client();
        QGuiApplication::clipboard()->setText(QStringLiteral("before"));
        plasma->openPopover(QStringLiteral("cpu"));
        QVERIFY(QTest::qWaitFor([&] { return plasma->popoverItem() == QStringLiteral("cpu"); }));
        plasma->pressKey(Qt::Key_C, int(Qt::ControlModifier));
        QVERIFY(QTest::qWaitFor(
            [&] { return QGuiApplication::clipboard()->text() != QStringLiteral("before"); }));
        QCOMPARE(QGuiApplication::clipboard()->text(), plasma->popoverText());
    }

    void aRequestOpensThePopover()
    {
        const auto plasma = client();
        QVERIFY(m_service->requestPopover(cpu));
        QVERIFY(QTest::qWaitFor([&] { return plasma->popoverItem() == QStringLiteral("cpu"); }));
    }

    void inAMirroredPanelLeftAndRightChangePlaces()
    {
        const auto plasma = client();
        const QString first = plasma->items().id(0);
        plasma->requestActions(first);
        QVERIFY(QTest::qWaitFor([&] { return !plasma->actions().isEmpty(); }));
        QCOMPARE(entry(*plasma, 0).value(QStringLiteral("id")), QVariant(QStringLiteral("move-left")));
        QCOMPARE(entry(*plasma, 0).value(QStringLiteral("isEnabled")), QVariant(false));
        const QVariant title = entry(*plasma, 0).value(QStringLiteral("title"));

        QSignalSpy told(plasma.get(), &AgentClient::actionsChanged);
        plasma->setProperty("isMirrored", true);
        plasma->requestActions(first);
        QVERIFY(QTest::qWaitFor([&] { return told.size() == 1; }));
        QCOMPARE(entry(*plasma, 0).value(QStringLiteral("id")), QVariant(QStringLiteral("move-right")));
        QCOMPARE(entry(*plasma, 0).value(QStringLiteral("isEnabled")), QVariant(true));
        QCOMPARE(entry(*plasma, 0).value(QStringLiteral("title")), title);

        plasma->openPopover(first);
        QVERIFY(QTest::qWaitFor([&] { return plasma->popoverItem() == first; }));
        plasma->pressKey(Qt::Key_Left, 0);
        QVERIFY(QTest::qWaitFor([&] { return plasma->popoverItem() == plasma->items().id(1); }));
    }

    void anAgentThatGoesLeavesNothing()
    {
        const auto plasma = client();
        plasma->openPopover(QStringLiteral("cpu"));
        QVERIFY(QTest::qWaitFor([&] { return plasma->popoverItem() == QStringLiteral("cpu"); }));
        m_service.reset();
        QVERIFY(QTest::qWaitFor([&] { return !plasma->isAttached(); }));
        QCOMPARE(plasma->items().rowCount(), 0);
        QVERIFY(plasma->openItem().isEmpty());
        QVERIFY(plasma->actions().isEmpty());
        plasma->openPopover(QStringLiteral("cpu")); // without an agent, nothing
        QVERIFY(plasma->openItem().isEmpty());

        startAgent();
        QVERIFY(QTest::qWaitFor([&] { return plasma->items().rowCount() == 4; }));
    }

    void aWidgetThatGoesIsDetached()
    {
        auto plasma = client();
        QVERIFY(m_service->isUsed());
        plasma.reset();
        QVERIFY(QTest::qWaitFor([&] { return !m_service->isUsed(); }));
    }

    void aWidgetThatGoesBeforeTheAnswerIsDetachedToo()
    {
        QSignalSpy attached(m_service.get(), &PanelService::attached);
        auto plasma = std::make_unique<AgentClient>(own());
        connect(m_service.get(), &PanelService::attached, this, [&] { plasma.reset(); });
        QVERIFY(QTest::qWaitFor([&] { return attached.size() == 1; }));
        QVERIFY(!plasma);
        QVERIFY(QTest::qWaitFor([&] { return !m_service->isUsed(); }));
    }

    void aStrangerIsNotHeard()
    {
        const auto plasma = client();
        QCOMPARE(itemsOf({}).type(), QDBusMessage::SignalMessage);
        plasma->requestActions({});
        QVERIFY(QTest::qWaitFor([&] { return !plasma->actions().isEmpty(); }));
        QCOMPARE(plasma->items().rowCount(), 4);
    }

    void itemsThatMakeNoSenseAreRefused()
    {
        QVERIFY(PanelMessages::items(itemsOf({})));
        QVERIFY(PanelMessages::items(itemsOf({ item(2, 3, 24) })));
        QVERIFY(PanelMessages::items(itemsOf({ item(2, 3, 0) })));
        QVERIFY(!PanelMessages::items(itemsOf({ item(2, 3, 23) })));
        QVERIFY(!PanelMessages::items(itemsOf({ item(2, 3, 28) })));
        QVERIFY(!PanelMessages::items(itemsOf({ item(-2, -3, 24) })));
        QVERIFY(!PanelMessages::items(itemsOf({ item(0, 3, 0) })));
        // The product of these is small in 32 bits.
        QVERIFY(!PanelMessages::items(itemsOf({ item(1 << 16, 1 << 16, 0) })));
        QVERIFY(!PanelMessages::items(itemsOf({ item(2, 3, 24), item(2, 3, 24) })));
        PanelItem odd = item(2, 3, 24);
        odd.width = std::numeric_limits<double>::quiet_NaN();
        QVERIFY(!PanelMessages::items(itemsOf({ odd })));
        odd = item(2, 3, 24);
        odd.x = std::numeric_limits<double>::infinity();
        QVERIFY(!PanelMessages::items(itemsOf({ odd })));
        QList<PanelItem> many;
        for (int i = 0; i <= PanelMessages::mostItems; ++i) {
            many.append(item(1, 1, 4));
            many.last().id = QString::number(i);
        }
        QVERIFY(!PanelMessages::items(itemsOf(many)));
        QVERIFY(!PanelMessages::items(received("Items", { 1U, QStringLiteral("text") })));
        QVERIFY(!PanelMessages::items(received("Items", {})));
    }

    void bandsThatMakeNoSenseAreRefused()
    {
        const auto band = [](int top, int rows, qsizetype bytes) {
            return PanelBand { top, rows, QByteArray(bytes, '\x7f') };
        };
        const QSize size(2, 10);
        QVERIFY(PanelMessages::popover(popoverOf(size, { band(0, 10, 80) })));
        QVERIFY(PanelMessages::popover(popoverOf(size, { band(0, 1, 8), band(9, 1, 8) })));
        QVERIFY(!PanelMessages::popover(popoverOf(size, { band(0, 10, 79) })));
        QVERIFY(!PanelMessages::popover(popoverOf(size, { band(1, 10, 80) })));
        QVERIFY(!PanelMessages::popover(popoverOf(size, { band(-1, 1, 8) })));
        QVERIFY(!PanelMessages::popover(popoverOf(size, { band(0, 0, 0) })));
        QVERIFY(!PanelMessages::popover(popoverOf(size, { band(0, 3, 24), band(2, 1, 8) })));
        QVERIFY(!PanelMessages::popover(popoverOf(size, { band(std::numeric_limits<int>::max(), 1, 8) })));
        QVERIFY(!PanelMessages::popover(popoverOf({ 0, 10 }, {})));
        QVERIFY(!PanelMessages::popover(popoverOf({ 1 << 16, 1 << 16 }, {})));
        QVERIFY(!PanelMessages::popover(received("Popover", { 1U })));

        // A part of a picture that is not there yet is none.
        QImage picture;
        QVERIFY(!PanelMessages::apply(*PanelMessages::popover(popoverOf(size, { band(0, 9, 72) })), picture));
        QVERIFY(picture.isNull());
    }

    void bandsMakeTheWholePicture()
    {
        QImage before(40, 60, QImage::Format_ARGB32_Premultiplied);
        before.fill(QColor(10, 20, 30, 255));
        QImage now = before;
        QPainter painter(&now);
        painter.fillRect(3, 2, 5, 4, Qt::red);
        painter.fillRect(20, 40, 9, 1, QColor(0, 255, 0, 255));
        painter.end();

        QImage shown;
        const QList<PanelBand> all = BridgeStand::bands(before, {});
        QVERIFY(PanelMessages::apply(*PanelMessages::popover(popoverOf(before.size(), all)), shown));
        QCOMPARE(shown, pixels(before));
        const QList<PanelBand> changed = BridgeStand::bands(now, before);
        QCOMPARE(changed.size(), 2);
        QVERIFY(PanelMessages::apply(*PanelMessages::popover(popoverOf(now.size(), changed)), shown));
        QCOMPARE(shown, pixels(now));
    }
};

KESTRUM_TEST_MAIN(QApplication, PlasmaBridgeTest)
#include "PlasmaBridgeTest.moc"
