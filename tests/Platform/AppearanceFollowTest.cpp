// The program follows changes of the desktop's scheme and accent. The portal runs in a process of its own. So only the
// program's own code uses D-Bus in this process, as in the real programs when no accessibility bus runs.

#include "Platform/Desktop/DesktopBus.h"
#include "Platform/Desktop/SystemAppearance.h"
#include "tests/Support/PortalProcess.h"
#include "tests/Support/SessionBus.h"
#include "tests/Support/TestHome.h"

#include <QDBusConnection>
#include <QGuiApplication>
#include <QRegularExpression>
#include <QSignalSpy>
#include <algorithm>

using namespace kestrum;

namespace {

// The program must report a change within 500 ms. The tests wait up to this limit before they fail.
constexpr int limit = 5000; // ms

} // namespace

class AppearanceFollowTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    // This test runs first: the other test would hide that the registration of a D-Bus type is missing.
    void tenChangesOfSchemeAndAccentAreHeardWithinHalfASecond()
    {
        const SessionBus bus;
        QVERIFY(bus.isUp());
        PortalProcess portal;
        QVERIFY(portal.isUp());
        SystemAppearance& appearance = SystemAppearance::shared();
        // The first answer shows that the program is connected. After that, only the signal reports changes.
        QVERIFY(portal.change("scheme 1"));
        QTRY_COMPARE_WITH_TIMEOUT(appearance.scheme(), ColourScheme::dark, limit);
        QVERIFY(portal.change("scheme 2"));

        QSignalSpy changes(&appearance, &SystemAppearance::changed);
        QTRY_COMPARE_WITH_TIMEOUT(appearance.scheme(), ColourScheme::light, limit);
        qint64 longest = 0;
        for (const QByteArray& change : PortalProcess::tenChanges()) {
            const auto before = changes.size();
            QElapsedTimer clock;
            clock.start();
            QVERIFY(portal.change(change));
            QTRY_COMPARE_WITH_TIMEOUT(changes.size(), before + 1, limit);
            longest = std::max(longest, clock.elapsed());
        }
        qInfo("the slowest of ten changes was heard of after %lld ms", longest);
        QVERIFY(Programs::areSanitized || longest < 500);
        QCOMPARE(appearance.scheme(), ColourScheme::light);
        QCOMPARE(appearance.accent()->rgb(), QColor::fromRgbF(0.1F, 0.2F, 0.9F).rgb());
    }

    void aBusThatGoesIsFollowedAgainWhenItIsBack()
    {
        SystemAppearance& appearance = SystemAppearance::shared();
        auto bus = std::make_unique<SessionBus>();
        {
            PortalProcess portal;
            QVERIFY(portal.change("scheme 1"));
            QTRY_COMPARE_WITH_TIMEOUT(appearance.scheme(), ColourScheme::dark, limit);
        }
        bus.reset();
        QTest::qWait(200);
        QCOMPARE(appearance.scheme(), ColourScheme::dark);
        bus = std::make_unique<SessionBus>();
        PortalProcess portal;
        QVERIFY(portal.change("scheme 2"));
        QTRY_COMPARE_WITH_TIMEOUT(appearance.scheme(), ColourScheme::light, limit);
    }

    void aSignalThatCannotBeFollowedIsSaid()
    {
        const SessionBus bus;
        QVERIFY(bus.isUp());
        const QString connection = QStringLiteral("test");
        QVERIFY(QDBusConnection::connectToBus(bus.address(), connection).isConnected());
        const DesktopBus::Source source { {}, QStringLiteral("/path"), QStringLiteral("org.example.Thing") };
        QTest::ignoreMessage(
            QtWarningMsg, QRegularExpression(QStringLiteral("org.example.Thing.Changed cannot be followed")));
        QVERIFY(!DesktopBus::follow(
            connection, source, QStringLiteral("Changed"), this, SLOT(noSlotOfThisName(QString))));
        QDBusConnection::disconnectFromBus(connection);
    }
};

KESTRUM_TEST_MAIN(QGuiApplication, AppearanceFollowTest)
#include "AppearanceFollowTest.moc"
