#pragma once

#include "KestrumAgent/Bridge/PanelService.h"
#include "tests/Support/BridgeClient.h"
#include "tests/Support/PopoverDesk.h"
#include "tests/Support/SessionBus.h"

#include <QMenu>
#include <QSignalSpy>
#include <QTest>
#include <memory>

namespace kestrum {

/// The agent's service on a bus of its own, over a strip with its popovers and a menu. A test's class has it as a further base,
/// and calls `startBus` before the first test, `setUp` before and `tearDown` after each.
class PanelServiceFixture {
protected:
    std::unique_ptr<SessionBus> m_bus;
    std::unique_ptr<Desk> m_desk;
    std::unique_ptr<QMenu> m_menu;
    std::unique_ptr<PanelService> m_service;

    void startBus()
    {
        qputenv("QT_LOGGING_RULES", "*.info=false;com.orvale.kestrum.panel=false");
        qputenv("DBUS_SYSTEM_BUS_ADDRESS", "disabled:");
        m_bus = std::make_unique<SessionBus>(SessionBus::Services::none);
        QVERIFY(m_bus->isUp());
    }
    void setUp()
    {
        if (!DrawingFixture::prepare())
            QFAIL(DrawingFixture::noFont);
        SystemAppearance::shared().setScheme(ColourScheme::light);
        m_desk = std::make_unique<Desk>();
        m_menu = std::make_unique<QMenu>();
        m_menu->addAction(QStringLiteral("Open"))->setObjectName(QStringLiteral("settings"));
        startService();
    }
    void startService()
    {
        m_service = std::make_unique<PanelService>(m_desk->strip, m_desk->popovers, *m_menu);
        QSignalSpy settled(m_service.get(), &PanelService::settled);
        m_service->start();
        QTRY_COMPARE(settled.size(), 1);
        QCOMPARE(settled[0][0].toBool(), true);
    }
    /// A bridge that has its first items.
    std::unique_ptr<BridgeClient> bridge(const QVariantMap& look = {})
    {
        auto client = std::make_unique<BridgeClient>(m_bus->address());
        client->attach(look);
        (void)QTest::qWaitFor([&] { return client->itemMessages > 0; }, BridgeClient::limit);
        return client;
    }
    void tearDown()
    {
        m_service.reset();
        m_menu.reset();
        m_desk.reset();
    }
};

} // namespace kestrum
