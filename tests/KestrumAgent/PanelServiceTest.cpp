// The agent on the session bus: what bridges get, and what they may do.

#include "KestrumShared/Settings/MeterSettings.h"
#include "KestrumShared/Settings/Setting.h"
#include "Platform/Desktop/WindowActivation.h"
#include "tests/Support/PanelServiceFixture.h"
#include "tests/Support/TestHome.h"

#include <QStyle>
#include <cmath>
#include <limits>

using namespace kestrum;

using enum MonitorSection;

class PanelServiceTest : public QObject, PanelServiceFixture {
    Q_OBJECT

    static QString order()
    {
        return SharedSettings::store().string(Keys::menuBarOrder.name).value_or(QString());
    }
    static QVariantList popover(const BridgeClient& client, const char* item, double scale = 1)
    {
        return { client.number, QString::fromLatin1(item),
            QVariantMap { { QStringLiteral("scale"), scale } } };
    }
    static QVariantList pointer(const BridgeClient& client, const char* kind, QPointF at)
    {
        return { client.number, QString::fromLatin1(kind), at.x(), at.y(), 0.0 };
    }
    static QVariantList key(const BridgeClient& client, const char* name)
    {
        return { client.number, QString::fromLatin1(name) };
    }

private Q_SLOTS:
    void initTestCase() { startBus(); }
    void init()
    {
        setUp();
        m_menu->addSeparator();
        m_menu->addAction(QStringLiteral("Closed"))->setObjectName(QStringLiteral("closed"));
        m_menu->actions().last()->setEnabled(false);
    }
    void cleanup() { tearDown(); }

    void aBridgeGetsTheItemsAndThenOnlyWhatHasChanged()
    {
        const auto client = bridge();
        QVERIFY(m_service->isUsed());
        QCOMPARE(client->property("Version").toUInt(), 2U);
        QCOMPARE(client->property("ShownBy").toString(), QStringLiteral("test"));
        QCOMPARE(client->items.size(), 4);
        for (qsizetype i = 0; i < 4; ++i) {
            const PanelItem& item = client->items[i];
            const PanelStrip::Item& ours = m_desk->strip.items().list()[i];
            QCOMPARE(item.id, rawValue(ours.section));
            QCOMPARE(item.x, ours.view->frame().x());
            QCOMPARE(item.width, ours.view->frame().width());
            QCOMPARE(item.text, m_desk->strip.text(ours.section));
            QCOMPARE(item.pixels.size(), qsizetype(item.pixelWidth) * item.pixelHeight * 4);
        }

        m_desk->strip.redraw();
        QVERIFY(client->isUpToDate());
        QCOMPARE(client->itemMessages, 1); // nothing has changed

        m_desk->readings->memory = 0.9;
        m_desk->strip.redraw();
        QVERIFY(client->isUpToDate());
        QCOMPARE(client->itemMessages, 2);
        QVERIFY(!client->item("memory")->pixels.isEmpty());
        QVERIFY(client->item("cpu")->pixels.isEmpty() && client->item("storage")->pixels.isEmpty());
    }

    void anItemThatComesBackHasItsPicture()
    {
        const auto client = bridge();
        const QByteArray before = client->item("cpu")->pixels;
        Setting(Keys::showCPUItem).set(false);
        m_desk->strip.rebuild();
        QVERIFY(client->isUpToDate());
        QVERIFY(!client->item("cpu"));
        Setting(Keys::showCPUItem).set(true);
        m_desk->strip.rebuild();
        QVERIFY(client->isUpToDate());
        QCOMPARE(client->item("cpu")->pixels, before);
        QVERIFY(client->item("memory")->pixels.isEmpty());
    }

    void thePicturesAreTheStripsOwn()
    {
        const auto client = bridge({ { QStringLiteral("scale"), 2.0 },
            { QStringLiteral("foreground"), QStringLiteral("#ddeeff") } });
        const PanelItem& told = *client->item("cpu");
        const QImage ours = StripScene::picture(*m_desk->strip.items().item(cpu),
            ItemInk(ColourScheme::dark, QColor(0xDD, 0xEE, 0xFF)), 2, Appearance::current())
                                .convertToFormat(QImage::Format_RGBA8888_Premultiplied);
        QCOMPARE(QSize(told.pixelWidth, told.pixelHeight), ours.size());
        QCOMPARE(
            told.pixels, QByteArray(reinterpret_cast<const char*>(ours.constBits()), ours.sizeInBytes()));
    }

    void aLookIsTakenAsFarAsItHasAMeaning()
    {
        const auto client = bridge();
        const QByteArray dark = client->item("cpu")->pixels;
        const int height = client->item("cpu")->pixelHeight;
        const auto heightWith = [&](const QVariant& scale) {
            QVariantMap look;
            look[QStringLiteral("scale")] = scale;
            client->call("Look", { client->number, look });
            return client->isUpToDate() ? client->item("cpu")->pixelHeight : 0;
        };
        QCOMPARE(heightWith(2.0), 2 * height);
        QCOMPARE(heightWith(std::nan("")), 2 * height);
        QCOMPARE(heightWith(QStringLiteral("large")), 2 * height);
        QCOMPARE(heightWith(std::numeric_limits<double>::infinity()), 2 * height);
        QCOMPARE(heightWith(1000.0), 4 * height);
        QCOMPARE(heightWith(-1.0), (height + 1) / 2);
        QCOMPARE(heightWith(1.0), height);
        const auto pixelsOn = [&](const char* foreground) {
            client->call("Look",
                { client->number,
                    QVariantMap { { QStringLiteral("foreground"), QString::fromLatin1(foreground) } } });
            return client->isUpToDate() ? client->item("cpu")->pixels : QByteArray();
        };
        QCOMPARE(pixelsOn("white"), dark); // only "#rrggbb" is a colour
        QCOMPARE(pixelsOn("#12"), dark);
        QVERIFY(pixelsOn("#ffffff") != dark);
    }

    void aPopoverIsSentWholeAndThenInBands()
    {
        const auto client = bridge();
        client->call("OpenPopover", popover(*client, "memory"));
        QVERIFY(client->isUpToDate());
        QCOMPARE(m_desk->popovers.section(), memory);
        QCOMPARE(client->popoverItem, QStringLiteral("memory"));
        QCOMPARE(client->popover.size(), m_desk->popovers.window()->size());
        QCOMPARE(client->bandRows, client->popover.height());
        QCOMPARE(qAlpha(client->popover.pixel(0, 0)), 0); // outside of the round corner
        QCOMPARE(client->popoverText, m_desk->popovers.window()->layout().text());

        const int messages = client->popoverMessages;
        Q_EMIT m_desk->source.changed();
        QVERIFY(client->isUpToDate());
        QCOMPARE(client->popoverMessages, messages); // nothing has changed

        m_desk->source.values.memory.pressure = 0.77;
        Q_EMIT m_desk->source.changed();
        QVERIFY(client->isUpToDate());
        QCOMPARE(client->popoverMessages, messages + 1);
        QVERIFY(client->bandRows > 0 && client->bandRows < client->popover.height() / 2);
        // The bands make the same picture as if all had been sent.
        const QImage now = client->popover.copy();
        client->call("ClosePopover", { client->number });
        client->call("OpenPopover", popover(*client, "memory"));
        QVERIFY(client->isUpToDate());
        QCOMPARE(client->popover, now);
    }

    void aPopoverIsAsSharpAsItsPanel()
    {
        const auto client = bridge();
        client->call("OpenPopover", popover(*client, "cpu", 2));
        QVERIFY(client->isUpToDate());
        QCOMPARE(client->popover.size(), m_desk->popovers.window()->size() * 2);
    }

    void whatTheUserDoesWithThePictureHappens()
    {
        const auto client = bridge();
        QSignalSpy settings(&m_desk->popovers, &PopoverController::settingsRequested);
        client->call("OpenPopover", popover(*client, "cpu"));
        QCOMPARE(m_desk->placeOf(PanelAction::Kind::togglePin), QPointF(-1, -1)); // it could not stay
        const QPointF gear = m_desk->placeOf(PanelAction::Kind::openSettings);
        const int messages = client->popoverMessages;
        client->call("Pointer", pointer(*client, "move", gear));
        QVERIFY(client->isUpToDate());
        QCOMPARE(client->popoverMessages, messages + 1); // it is lit up
        client->call("Pointer", pointer(*client, "press", gear));
        QCOMPARE(settings.size(), 0);
        client->call("Pointer", pointer(*client, "release", gear));
        QCOMPARE(settings.size(), 1);
        QVERIFY(client->isUpToDate());
        QCOMPARE(client->closes, 1);
        QVERIFY(!m_desk->popovers.section());
    }

    void aTipIsInThePictureWhileThePointerRestsAtWhatItExplains()
    {
        const auto client = bridge();
        client->call("OpenPopover", popover(*client, "storage"));
        QRectF head;
        m_desk->popovers.window()->layout().visit(
            [&](const PopoverLayout::Path& path, const PanelElement& element) {
                if (head.isEmpty() && !element.tip.isEmpty())
                    head = m_desk->popovers.window()->rectOf(path);
            });
        QVERIFY(!head.isEmpty());
        client->call("Pointer", pointer(*client, "move", head.center()));
        QVERIFY(client->isUpToDate());
        const QImage before = client->popover;
        QTRY_VERIFY(client->popover != before);
        const QImage tip = client->popover;
        client->call("Pointer", pointer(*client, "move", head.center() + QPointF(1, 0)));
        QVERIFY(client->isUpToDate());
        QCOMPARE(client->popover, tip);
        client->call("Pointer", pointer(*client, "leave", {}));
        QVERIFY(client->isUpToDate());
        QCOMPARE(client->popover, before);
        QTest::qWait(QApplication::style()->styleHint(QStyle::SH_ToolTip_WakeUpDelay) + 100);
        QVERIFY(client->isUpToDate());
        QCOMPARE(client->popover, before); // nothing comes after it
    }

    void aWindowOpensWithTheBridgesToken()
    {
        const auto client = bridge();
        connect(&m_desk->popovers, &PopoverController::settingsRequested, m_service.get(),
            [this] { QVERIFY(m_service->requestChoice(QStringLiteral("settings"))); });
        QByteArrayList tokens;
        connect(m_menu->actions().first(), &QAction::triggered, this,
            [&] { tokens.append(WindowActivation::takeToken()); });
        const auto pressGear = [&] {
            client->call("OpenPopover", popover(*client, "cpu"));
            const QPointF gear = m_desk->placeOf(PanelAction::Kind::openSettings);
            client->call("Pointer", pointer(*client, "press", gear));
            client->call("Pointer", pointer(*client, "release", gear));
            return client->isUpToDate();
        };
        QVERIFY(pressGear());
        QCOMPARE(client->choice, QStringLiteral("settings"));
        QCOMPARE(tokens, QByteArrayList());
        client->call("Choose", { client->choice, QString(), QStringLiteral("a token") });
        QCOMPARE(tokens, QByteArrayList { "a token" });

        // A bridge that does not answer does not keep the window away, and one that answers opens no second one.
        QVERIFY(pressGear());
        QTRY_COMPARE_WITH_TIMEOUT(tokens.size(), 2, 3000);
        QCOMPARE(tokens.last(), QByteArray());
    }

    void whatIsDoneElsewhereIsNoBridges()
    {
        const auto client = bridge();
        client->call("OpenPopover", popover(*client, "cpu"));
        QVERIFY(!m_service->requestChoice(QStringLiteral("settings")));
        QVERIFY(client->isUpToDate());
        QCOMPARE(client->choice, QString());
    }

    void theProgramForProcessesCanBeChosen()
    {
        const auto client = bridge();
        QByteArrayList tokens;
        connect(m_service.get(), &PanelService::systemMonitorChosen, this,
            [&] { tokens.append(WindowActivation::takeToken()); });
        client->call(
            "Choose", { QString(PanelService::systemMonitorAction), QString(), QStringLiteral("a token") });
        client->call("Choose", { QStringLiteral("rubbish"), QString(), QStringLiteral("a token") });
        QCOMPARE(tokens, QByteArrayList { "a token" });
        QCOMPARE(WindowActivation::takeToken(), QByteArray());
    }

    void keysMoveTheFocusCopyAndClose()
    {
        const auto client = bridge();
        client->call("OpenPopover", popover(*client, "cpu"));
        QCOMPARE(client->popoverFocus, QString());
        client->call("Key", key(*client, "Tab"));
        QVERIFY(client->isUpToDate());
        QVERIFY(!client->popoverFocus.isEmpty());
        client->call("Key", key(*client, "Ctrl+C"));
        QVERIFY(client->isUpToDate());
        QVERIFY(!client->copied.isEmpty());
        client->call("Key", key(*client, "Right"));
        QVERIFY(client->isUpToDate());
        QVERIFY(client->popoverItem != QStringLiteral("cpu"));
        client->call("Key", key(*client, "Esc"));
        QVERIFY(client->isUpToDate());
        QCOMPARE(client->closes, 1);
    }

    void shiftTabGoesBackwards()
    {
        const auto client = bridge();
        const auto firstAfter = [&](const char* name) {
            // Some app needs memory at any time; processors may be idle, and then few elements are left.
            client->call("OpenPopover", popover(*client, "memory"));
            client->call("Key", key(*client, name));
            client->call("ClosePopover", { client->number });
            return client->isUpToDate() ? client->popoverFocus : QString();
        };
        const QString last = firstAfter("Shift+Tab");
        QVERIFY(!last.isEmpty());
        QVERIFY(firstAfter("Tab") != last);
    }

    void onePopoverIsOpenAtATime()
    {
        const auto client = bridge();
        const auto other = bridge();
        client->call("OpenPopover", popover(*client, "cpu"));
        other->call("OpenPopover", popover(*other, "memory"));
        QVERIFY(client->isUpToDate() && other->isUpToDate());
        QCOMPARE(client->closes, 1);
        QCOMPARE(other->closes, 0);
        QCOMPARE(m_desk->popovers.section(), memory);
        client->call("ClosePopover", { client->number }); // not its own any more
        QCOMPARE(m_desk->popovers.section(), memory);
        other->leave();
        QTRY_VERIFY(!m_desk->popovers.section());
    }

    void aPopoverThatIsAskedForByCommandIsTheBridges()
    {
        QVERIFY(!m_service->requestPopover(cpu));
        const auto client = bridge();
        QVERIFY(m_service->requestPopover(cpu));
        QVERIFY(client->isUpToDate());
        QCOMPARE(client->requested, QStringList { QStringLiteral("cpu") });
    }

    void anItemThatIsNotShownHasNoPopover()
    {
        auto client = bridge();
        Setting(MeterSettings::visibilityKey(storage)).set(false);
        m_desk->strip.rebuild();
        client->call("OpenPopover", { client->number, QStringLiteral("storage"), QVariantMap() });
        QTRY_COMPARE(client->closes, 1);
        QVERIFY(!m_desk->popovers.section());
        QVERIFY(m_service->requestPopover(storage));
        QVERIFY(client->isUpToDate());
        QCOMPARE(client->requested, QStringList());
    }

    void anOrderIsAPermutationOrNothing()
    {
        const auto client = bridge();
        const QString before = order();
        const QString refusal = QStringLiteral("org.freedesktop.DBus.Error.InvalidArgs");
        const auto list = [](const char* names) {
            return QVariantList { QString::fromLatin1(names).split(u',', Qt::SkipEmptyParts) };
        };
        for (const char* names : { "", "cpu", "cpu,cpu,rubbish", "cpu,cpu,memory,storage",
                 "cpu,memory,storage,sensors,cpu", "cpu,memory,storage,rubbish" }) {
            QCOMPARE(client->errorOf("Reorder", list(names)), refusal);
            QCOMPARE(order(), before);
        }
        QCOMPARE(client->errorOf("Reorder", list("memory,cpu,sensors,storage")), QString());
        QCOMPARE(order(), QStringLiteral("memory,cpu,sensors,storage"));
    }

    void theMenuIsTheAgents()
    {
        const auto client = bridge();
        const auto entries = [&](const char* item) {
            QStringList list;
            const QVariant told = client->call("Actions", { QString::fromLatin1(item) }).arguments().value(0);
            for (const PanelMenuEntry& entry : qdbus_cast<QList<PanelMenuEntry>>(told))
                list.append(entry.id + (entry.isEnabled ? u'+' : u'-') + entry.title);
            return list.join(u'|');
        };
        QCOMPARE(entries(""), QStringLiteral("settings+Open|-|closed-Closed"));
        QCOMPARE(entries("rubbish"), entries(""));
        QCOMPARE(
            entries("storage"), QStringLiteral("move-left-Move Left|move-right+Move Right|-|") + entries(""));
        QCOMPARE(
            entries("cpu"), QStringLiteral("move-left+Move Left|move-right-Move Right|-|") + entries(""));

        QSignalSpy chosen(m_menu->actions().first(), &QAction::triggered);
        QSignalSpy refused(m_menu->actions().last(), &QAction::triggered);
        const auto choose = [&](const char* action, const char* item) {
            client->call("Choose",
                { QString::fromLatin1(action), QString::fromLatin1(item), QStringLiteral("token") });
        };
        for (const char* action : { "closed", "", "rubbish" })
            choose(action, "cpu");
        QCOMPARE(chosen.size() + refused.size(), 0);
        choose("settings", "");
        QCOMPARE(chosen.size(), 1);
        QVERIFY(qgetenv("XDG_ACTIVATION_TOKEN").isEmpty());

        choose("move-left", "storage"); // the first one
        QCOMPARE(order(), QString::fromLatin1(Keys::menuBarOrder.factoryDefault));
        choose("move-right", "storage");
        QCOMPARE(order(), QStringLiteral("sensors,storage,memory,cpu"));
    }
};

KESTRUM_TEST_MAIN(QApplication, PanelServiceTest)
#include "PanelServiceTest.moc"
