// The widget's part that speaks with the agent: it shows what the agent has, and believes nobody else.

#include "KestrumShared/Settings/MeterSettings.h"
#include "Platform/Desktop/WindowActivation.h"
#include "bridges/plasma/plugin/AgentClient.h"
#include "tests/Support/PanelServiceFixture.h"
#include "tests/Support/SilentAgent.h"
#include "tests/Support/TestHome.h"

#include <QClipboard>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QScopeGuard>
#include <cmath>

using namespace kestrum;

using enum MonitorSection;

class PlasmaBridgeTest : public QObject, PanelServiceFixture {
    Q_OBJECT

    static constexpr auto ownConnection = "plasma-test";
    static constexpr auto strangerConnection = "plasma-stranger";

    static QDBusConnection own() { return QDBusConnection(QString::fromLatin1(ownConnection)); }
    static QDBusConnection stranger() { return QDBusConnection(QString::fromLatin1(strangerConnection)); }

    /// A client that has the items.
    std::unique_ptr<AgentClient> client()
    {
        auto made = std::make_unique<AgentClient>(own());
        (void)QTest::qWaitFor([&] { return made->items().rowCount() == 4; });
        return made;
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
        startBus();
        PanelContract::registerTypes();
        for (const char* name : { ownConnection, strangerConnection })
            QVERIFY(QDBusConnection::connectToBus(m_bus->address(), QString::fromLatin1(name)).isConnected());
    }
    void cleanupTestCase()
    {
        QDBusConnection::disconnectFromBus(QString::fromLatin1(ownConnection));
        QDBusConnection::disconnectFromBus(QString::fromLatin1(strangerConnection));
    }
    void init() { setUp(); }
    void cleanup()
    {
        // Closing a connection with a message on its way would lose the message's memory: the client's last word has to arrive.
        QVERIFY(QTest::qWaitFor([&] { return !m_service->isUsed(); }));
        tearDown();
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
            // Some app needs memory at any time; processors may be idle, and then few elements are left.
            plasma->openPopover(QStringLiteral("memory"));
            (void)QTest::qWaitFor([&] { return plasma->popoverItem() == QStringLiteral("memory"); });
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

    void aChoiceInThePopoverComesBackWithAToken()
    {
        connect(&m_desk->popovers, &PopoverController::settingsRequested, m_service.get(),
            [this] { QVERIFY(m_service->requestChoice(QStringLiteral("settings"))); });
        QByteArray token;
        connect(m_menu->actions().first(), &QAction::triggered, this,
            [&] { token = WindowActivation::takeToken(); });
        const auto plasma = client();
        connect(plasma.get(), &AgentClient::choiceRequested, plasma.get(),
            [&](const QString& action) { plasma->choose(action, QStringLiteral("a token")); });
        plasma->openPopover(QStringLiteral("cpu"));
        QVERIFY(QTest::qWaitFor([&] { return plasma->popoverItem() == QStringLiteral("cpu"); }));
        const QPointF gear = m_desk->placeOf(PanelAction::Kind::openSettings);
        plasma->point(QStringLiteral("press"), gear);
        plasma->point(QStringLiteral("release"), gear);
        QVERIFY(QTest::qWaitFor([&] { return token == "a token"; }));
    }

    void theNeighbourOnTheRightIsTheNextItemInEveryLanguage()
    {
        QGuiApplication::setLayoutDirection(Qt::RightToLeft);
        const auto restore = qScopeGuard([] { QGuiApplication::setLayoutDirection(Qt::LeftToRight); });
        const auto plasma = client();
        const QString first = plasma->items().id(0);
        plasma->requestActions(first);
        QVERIFY(QTest::qWaitFor([&] { return !plasma->actions().isEmpty(); }));
        QCOMPARE(entry(*plasma, 0).value(QStringLiteral("id")), QVariant(QStringLiteral("move-left")));
        QCOMPARE(entry(*plasma, 0).value(QStringLiteral("isEnabled")), QVariant(false));
        plasma->openPopover(first);
        QVERIFY(QTest::qWaitFor([&] { return plasma->popoverItem() == first; }));
        plasma->pressKey(Qt::Key_Right, 0);
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

        startService();
        QVERIFY(QTest::qWaitFor([&] { return plasma->items().rowCount() == 4; }));
    }

    void aWidgetThatGoesIsDetached()
    {
        auto plasma = client();
        QVERIFY(m_service->isUsed());
        plasma.reset();
        QVERIFY(QTest::qWaitFor([&] { return !m_service->isUsed(); }));
    }

    void aPanelThatEndsOnlyLeavesTheBus()
    {
        const QString name = QStringLiteral("ending-panel");
        const QSignalSpy detached(m_service.get(), &PanelService::detached);
        auto ending = std::make_unique<AgentClient>(QDBusConnection::connectToBus(m_bus->address(), name));
        QVERIFY(QTest::qWaitFor([&] { return ending->items().rowCount() == 4; }));
        QVERIFY(QMetaObject::invokeMethod(qApp, "aboutToQuit"));
        ending.reset();
        QDBusConnection::disconnectFromBus(name);
        QVERIFY(QTest::qWaitFor([&] { return !m_service->isUsed(); }));
        QCOMPARE(detached.size(), 0);
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

    void itemsThatComeBeforeTheAnswerAreShown()
    {
        m_service.reset();
        const QString name = QStringLiteral("early");
        QDBusConnection bus = QDBusConnection::connectToBus(m_bus->address(), name);
        SilentAgent agent;
        // An agent sends a picture once, and again for a new look.
        const auto send = [&](uint bridge, const char* id, const QByteArray& pixels) {
            const PanelItem item { QString::fromLatin1(id), 0, 1, {}, 1, 1, pixels };
            QDBusMessage message = QDBusMessage::createTargetedSignal(
                agent.client, PanelContract::path, PanelContract::interface, QStringLiteral("Items"));
            message << bridge << QVariant::fromValue(QList { item });
            QVERIFY(bus.send(message));
        };
        const QByteArray picture(4, 'x');
        agent.attaching = [&] {
            send(7, "cpu", picture);
            send(7, "cpu", {});
            send(8, "memory", picture); // for another bridge of this process
        };
        agent.looking = [&] { send(7, "cpu", picture); };
        QVERIFY(bus.registerObject(PanelContract::path, &agent, QDBusConnection::ExportAllSlots));
        QVERIFY(bus.registerService(PanelContract::service));
        {
            AgentClient plasma(own());
            QVERIFY(QTest::qWaitFor([&] { return plasma.isAttached(); }));
            QTRY_COMPARE(plasma.items().rowCount(), 1);
            QCOMPARE(plasma.items().id(0), QStringLiteral("cpu"));
            QVERIFY(!plasma.items().index(0).data(PanelItems::pictureRole).value<QImage>().isNull());
        }
        QVERIFY(bus.unregisterService(PanelContract::service));
        QDBusConnection::disconnectFromBus(name);
        startService();
    }

    void aStrangerIsNotHeard()
    {
        const auto plasma = client();
        QDBusMessage message = QDBusMessage::createTargetedSignal(
            own().baseService(), PanelContract::path, PanelContract::interface, QStringLiteral("Items"));
        message << 1U << QVariant::fromValue(QList<PanelItem>());
        QVERIFY(stranger().send(message));
        // The bus keeps the order of what it gets from one program, and the answer comes later than the signal.
        QDBusMessage question = QDBusMessage::createMethodCall(own().baseService(), QStringLiteral("/"),
            QStringLiteral("org.freedesktop.DBus.Peer"), QStringLiteral("Ping"));
        QDBusPendingCallWatcher answer(stranger().asyncCall(question));
        QVERIFY(QTest::qWaitFor([&] { return answer.isFinished(); }));
        plasma->requestActions({});
        QVERIFY(QTest::qWaitFor([&] { return !plasma->actions().isEmpty(); }));
        QCOMPARE(plasma->items().rowCount(), 4);
    }
};

KESTRUM_TEST_MAIN(QApplication, PlasmaBridgeTest)
#include "PlasmaBridgeTest.moc"
