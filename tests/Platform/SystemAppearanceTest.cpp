// The test starts a bus of its own and plays the portal itself. It answers like Debian's portal: `Read` returns a variant
// within a variant, and there is no accent colour until a test sets one.

#include "Platform/Desktop/AppearancePortal.h"
#include "Platform/Desktop/DesktopBus.h"
#include "tests/Support/SessionBus.h"
#include "tests/Support/TestHome.h"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusMetaType>
#include <QDBusVariant>
#include <QDir>
#include <QPalette>
#include <QSignalSpy>
#include <QTest>
#include <memory>
#include <sys/stat.h>

using namespace kestrum;

struct AccentComponents {
    double red = 0;
    double green = 0;
    double blue = 0;
};
Q_DECLARE_METATYPE(AccentComponents)

QDBusArgument& operator<<(QDBusArgument& argument, const AccentComponents& components)
{
    argument.beginStructure();
    argument << components.red << components.green << components.blue;
    argument.endStructure();
    return argument;
}

const QDBusArgument& operator>>(const QDBusArgument& argument, AccentComponents& components)
{
    argument.beginStructure();
    argument >> components.red >> components.green >> components.blue;
    argument.endStructure();
    return argument;
}

const QString appearanceGroup = QStringLiteral("org.freedesktop.appearance");
const QString gnomeGroup = QStringLiteral("org.gnome.desktop.interface");
const QString animationsKey = QStringLiteral("enable-animations");

class FakePortal : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.freedesktop.portal.Settings")
public:
    QHash<QString, QVariant> settings;
    bool isSilent = false;
    int asked = 0;

    void change(const QString& key, const QVariant& value, QDBusConnection connection)
    {
        settings[key] = value;
        QDBusMessage signal = QDBusMessage::createSignal(QStringLiteral("/org/freedesktop/portal/desktop"),
            QStringLiteral("org.freedesktop.portal.Settings"), QStringLiteral("SettingChanged"));
        signal << (key == animationsKey ? gnomeGroup : appearanceGroup) << key
               << QVariant::fromValue(QDBusVariant(value));
        connection.send(signal);
    }

public Q_SLOTS:
    QDBusVariant Read(const QString& group, const QString& key, const QDBusMessage& call)
    {
        ++asked;
        if (isSilent) {
            call.setDelayedReply(true);
            return QDBusVariant();
        }
        const bool isOfGroup = group == (key == animationsKey ? gnomeGroup : appearanceGroup);
        if (!isOfGroup || !settings.contains(key)) {
            call.setDelayedReply(true);
            QDBusConnection(QStringLiteral("portal"))
                .send(call.createErrorReply(QStringLiteral("org.freedesktop.portal.Error.NotFound"),
                    QStringLiteral("Requested setting not found")));
            return QDBusVariant();
        }
        return QDBusVariant(QVariant::fromValue(QDBusVariant(settings.value(key))));
    }
};

namespace {

const QString schemeKey = QStringLiteral("color-scheme");
const QString accentKey = QStringLiteral("accent-color");

int messages = 0;

void countMessage(QtMsgType, const QMessageLogContext&, const QString&)
{
    ++messages;
}

QPalette paletteOf(const QColor& window, const QColor& text)
{
    QPalette palette;
    palette.setColor(QPalette::Window, window);
    palette.setColor(QPalette::WindowText, text);
    return palette;
}

} // namespace

class SystemAppearanceTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void initTestCase()
    {
        qDBusRegisterMetaType<AccentComponents>();
        qunsetenv("DBUS_SESSION_BUS_ADDRESS");
    }
    void cleanup()
    {
        qunsetenv("DBUS_SESSION_BUS_ADDRESS");
        QDBusConnection::disconnectFromBus(QStringLiteral("kestrum-appearance"));
        QDBusConnection::disconnectFromBus(QStringLiteral("portal"));
        m_bus.reset();
    }

    void busIsNotAskedForWhereThereIsNone()
    {
        QCOMPARE(DesktopBus::address(), QString());
        qputenv("DBUS_SESSION_BUS_ADDRESS", "autolaunch:");
        QCOMPARE(DesktopBus::address(), QString());
        // A folder with the socket's name in the runtime directory is not taken for a bus.
        qunsetenv("DBUS_SESSION_BUS_ADDRESS");
        QVERIFY(QDir(TestHome::runtimeDirectory()).mkdir(QStringLiteral("bus")));
        QCOMPARE(DesktopBus::address(), QString());
        QVERIFY(QDir(TestHome::runtimeDirectory()).rmdir(QStringLiteral("bus")));
    }

    void busOfTheRuntimeDirectoryIsFound()
    {
        QVERIFY(startBus());
        qunsetenv("DBUS_SESSION_BUS_ADDRESS");
        QCOMPARE(DesktopBus::address(), QStringLiteral("unix:path=%1/bus").arg(TestHome::runtimeDirectory()));
    }

    void busInADirectoryThatOthersMayEnterIsNone()
    {
        QVERIFY(startBus());
        qunsetenv("DBUS_SESSION_BUS_ADDRESS");
        const QByteArray directory = QFile::encodeName(TestHome::runtimeDirectory());
        QCOMPARE(::chmod(directory.constData(), 0755), 0);
        const QString found = DesktopBus::address();
        QCOMPARE(::chmod(directory.constData(), 0700), 0);
        QCOMPARE(found, QString());
        // An address in the environment is used without this check, because somebody chose it.
        qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/elsewhere");
        QCOMPARE(DesktopBus::address(), QStringLiteral("unix:path=/elsewhere"));
    }

    void ofSeveralAddressesThoseThatWouldStartABusAreLeftOut()
    {
        qputenv("DBUS_SESSION_BUS_ADDRESS", "unix:path=/one;autolaunch:;unix:path=/two");
        QCOMPARE(DesktopBus::address(), QStringLiteral("unix:path=/one;unix:path=/two"));
    }

    void theToolkitIsToldThatThereIsNoBus()
    {
        QFile::remove(TestHome::runtimeDirectory() + QStringLiteral("/bus")); // an ended daemon's socket
        DesktopBus::nameToToolkit();
        QCOMPARE(qgetenv("DBUS_SESSION_BUS_ADDRESS"), QByteArray("disabled:"));
        QCOMPARE(DesktopBus::address(), QString());
        QVERIFY(startBus());
        qunsetenv("DBUS_SESSION_BUS_ADDRESS");
        DesktopBus::nameToToolkit();
        QCOMPARE(qEnvironmentVariable("DBUS_SESSION_BUS_ADDRESS"), m_bus->address());
    }

    void deadBusIsPassedOverInSilence()
    {
        messages = 0;
        const QtMessageHandler before = qInstallMessageHandler(countMessage);
        AppearancePortal portal;
        QSignalSpy changes(&portal, &AppearancePortal::changed);
        portal.start(QStringLiteral("unix:path=%1/nobody").arg(TestHome::runtimeDirectory()));
        QTest::qWait(200);
        qInstallMessageHandler(before);
        QCOMPARE(changes.size(), 0);
        QCOMPARE(messages, 0);
        QVERIFY(!portal.scheme());
    }

    void portalTellsSchemeAndAccent()
    {
        QVERIFY(startPortal());
        m_portal.settings = { { schemeKey, QVariant(1U) },
            { accentKey, QVariant::fromValue(AccentComponents { 1.0, 0.5, 0.0 }) } };
        AppearancePortal portal;
        portal.start(DesktopBus::address());
        QTRY_COMPARE(portal.scheme(), std::optional(ColourScheme::dark));
        QTRY_VERIFY(portal.accent());
        QCOMPARE(portal.accent()->rgb(), qRgb(255, 128, 0));
    }

    void olderPortalKnowsNoAccent()
    {
        QVERIFY(startPortal());
        m_portal.settings = { { schemeKey, QVariant(2U) } };
        AppearancePortal portal;
        portal.start(DesktopBus::address());
        QTRY_COMPARE(portal.scheme(), std::optional(ColourScheme::light));
        QVERIFY(!portal.accent());
    }

    void changesAreFollowed()
    {
        QVERIFY(startPortal());
        m_portal.settings = { { schemeKey, QVariant(2U) } };
        AppearancePortal portal;
        portal.start(DesktopBus::address());
        QTRY_COMPARE(portal.scheme(), std::optional(ColourScheme::light));
        const QDBusConnection bus(QStringLiteral("portal"));
        m_portal.change(schemeKey, QVariant(1U), bus);
        QTRY_COMPARE(portal.scheme(), std::optional(ColourScheme::dark));
        m_portal.change(accentKey, QVariant::fromValue(AccentComponents { 0, 0, 1 }), bus);
        QTRY_VERIFY(portal.accent());
        // No preference, no accent, and an invalid value.
        m_portal.change(schemeKey, QVariant(0U), bus);
        QTRY_VERIFY(!portal.scheme());
        m_portal.change(accentKey, QVariant::fromValue(AccentComponents { -1, -1, -1 }), bus);
        QTRY_VERIFY(!portal.accent());
        m_portal.change(schemeKey, QVariant(1U), bus);
        QTRY_VERIFY(portal.scheme());
        m_portal.change(schemeKey, QVariant(QStringLiteral("dark")), bus);
        QTRY_VERIFY(!portal.scheme());
    }

    void desktopAsksForLessMotionInTwoWays()
    {
        QVERIFY(startPortal());
        m_portal.settings = { { animationsKey, QVariant(false) } };
        AppearancePortal portal;
        QVERIFY(!portal.reducesMotion());
        portal.start(DesktopBus::address());
        QTRY_VERIFY(portal.reducesMotion());
        const QDBusConnection bus(QStringLiteral("portal"));
        // The setting that all desktops share has priority over the setting of a single desktop.
        const QString motionKey = QStringLiteral("reduced-motion");
        m_portal.change(motionKey, QVariant(0U), bus);
        QTRY_VERIFY(!portal.reducesMotion());
        m_portal.change(animationsKey, QVariant(true), bus);
        m_portal.change(motionKey, QVariant(1U), bus);
        QTRY_VERIFY(portal.reducesMotion());
        m_portal.change(motionKey, QVariant(7U), bus);
        QTRY_VERIFY(!portal.reducesMotion());
    }

    void silentPortalKeepsNobodyWaiting()
    {
        QVERIFY(startPortal());
        m_portal.isSilent = true;
        AppearancePortal portal;
        QElapsedTimer timer;
        timer.start();
        portal.start(DesktopBus::address());
        QVERIFY(timer.elapsed() < 50);
        QTest::qWait(200);
        QVERIFY(!portal.scheme());
    }

    void paletteDecidesUntilThePortalDoes()
    {
        QVERIFY(startPortal());
        QGuiApplication::setPalette(paletteOf(Qt::black, Qt::white));
        SystemAppearance& appearance = SystemAppearance::shared();
        QCOMPARE(appearance.scheme(), ColourScheme::dark);
        QVERIFY(!QDBusConnection(QStringLiteral("kestrum-appearance")).isConnected());

        QSignalSpy changes(&appearance, &SystemAppearance::changed);
        QGuiApplication::setPalette(paletteOf(Qt::white, Qt::black));
        QTRY_COMPARE(appearance.scheme(), ColourScheme::light);
        QCOMPARE(changes.size(), 1);
        QGuiApplication::setPalette(paletteOf(Qt::black, Qt::white));
        QTRY_COMPARE(appearance.scheme(), ColourScheme::dark);

        // The portal is asked shortly after the start. It has no preference yet.
        QTRY_VERIFY(m_portal.asked > 0);
        QCOMPARE(appearance.scheme(), ColourScheme::dark);
        m_portal.change(schemeKey, QVariant(2U), QDBusConnection(QStringLiteral("portal")));
        QTRY_COMPARE(appearance.scheme(), ColourScheme::light);

        // A scheme that setScheme() has fixed does not change.
        appearance.setScheme(ColourScheme::light);
        m_portal.change(schemeKey, QVariant(1U), QDBusConnection(QStringLiteral("portal")));
        QGuiApplication::setPalette(paletteOf(Qt::darkBlue, Qt::white));
        QTest::qWait(100);
        QCOMPARE(appearance.scheme(), ColourScheme::light);
    }

private:
    bool startBus()
    {
        m_bus = std::make_unique<SessionBus>();
        return m_bus->isUp();
    }

    bool startPortal()
    {
        m_portal.settings.clear();
        m_portal.isSilent = false;
        m_portal.asked = 0;
        if (!startBus())
            return false;
        QDBusConnection connection
            = QDBusConnection::connectToBus(DesktopBus::address(), QStringLiteral("portal"));
        return connection.registerObject(QStringLiteral("/org/freedesktop/portal/desktop"), &m_portal,
                   QDBusConnection::ExportAllSlots)
            && connection.registerService(QStringLiteral("org.freedesktop.portal.Desktop"));
    }

    std::unique_ptr<SessionBus> m_bus;
    FakePortal m_portal;
};

KESTRUM_TEST_MAIN(QGuiApplication, SystemAppearanceTest)
#include "SystemAppearanceTest.moc"
