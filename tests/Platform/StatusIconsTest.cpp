// SPDX-License-Identifier: MIT
#include "Platform/Desktop/StatusIcons.h"
#include "tests/Support/Programs.h"
#include "tests/Support/SessionBus.h"
#include "tests/Support/TestHome.h"

#include <QCoreApplication>
#include <QTest>

using namespace kestrum;

using Programs::patience;

/// Another process plays the desktop's place for status icons.
class StatusIconsTest : public QObject {
    Q_OBJECT

    static std::unique_ptr<QProcess> startedDesktop()
    {
        return Programs::started(QCoreApplication::applicationDirPath() + QStringLiteral("/StandInTray"), {});
    }

private Q_SLOTS:
    void aBusThatGoesTakesThePlaceAlongAndBringsItBack()
    {
        auto bus = std::make_unique<SessionBus>(SessionBus::Services::none);
        auto desktop = startedDesktop();
        const StatusIcons icons;
        QTRY_VERIFY_WITH_TIMEOUT(icons.areShown(), patience);
        bus.reset();
        QTRY_VERIFY_WITH_TIMEOUT(!icons.areShown(), patience);
        Programs::end(*desktop);
        bus = std::make_unique<SessionBus>(SessionBus::Services::none);
        desktop = startedDesktop();
        QTRY_VERIFY_WITH_TIMEOUT(icons.areShown(), patience);
        Programs::end(*desktop);
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, StatusIconsTest)
#include "StatusIconsTest.moc"
