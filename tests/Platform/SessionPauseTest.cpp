// What the login service says of the session and of sleep. A private bus plays the system bus; this process plays the service.

#include "Platform/Desktop/SessionPause.h"
#include "tests/Support/QuietTime.h"
#include "tests/Support/SessionBus.h"
#include "tests/Support/TestHome.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QElapsedTimer>
#include <QSignalSpy>
#include <QTest>

using namespace kestrum;

class SessionPauseTest : public QObject {
    Q_OBJECT

    std::unique_ptr<SessionBus> m_bus;

    static void say(
        const QString& path, const char* interface, const char* signal, const QVariantList& values = {})
    {
        QDBusMessage message = QDBusMessage::createSignal(path,
            QStringLiteral("org.freedesktop.login1.") + QString::fromLatin1(interface),
            QString::fromLatin1(signal));
        message.setArguments(values);
        QVERIFY(QDBusConnection(QStringLiteral("login")).send(message));
    }
    static void lock(const char* session) { say(SessionPause::pathOf(session), "Session", "Lock"); }
    static void hint(const char* session, const QString& property, bool value)
    {
        QDBusMessage message = QDBusMessage::createSignal(SessionPause::pathOf(session),
            QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("PropertiesChanged"));
        message << QStringLiteral("org.freedesktop.login1.Session") << QVariantMap { { property, value } }
                << QStringList();
        QVERIFY(QDBusConnection(QStringLiteral("login")).send(message));
    }
    static void sleep(bool isBeginning)
    {
        say(QStringLiteral("/org/freedesktop/login1"), "Manager", "PrepareForSleep", { isBeginning });
    }
    /// Waits until a new object hears of sleep, and forgets what it has told until then.
    static void waitUntilHeard(QSignalSpy& begun)
    {
        QTRY_VERIFY_WITH_TIMEOUT((sleep(true), QTest::qWait(20), !begun.isEmpty()), 10'000);
        QTest::qWait(quietTime);
        begun.clear();
    }

private Q_SLOTS:
    void init()
    {
        m_bus = std::make_unique<SessionBus>(SessionBus::Services::none);
        QVERIFY(m_bus->isUp());
        qputenv("DBUS_SYSTEM_BUS_ADDRESS", m_bus->address().toUtf8());
        qunsetenv("XDG_SESSION_ID");
        QVERIFY(QDBusConnection::connectToBus(m_bus->address(), QStringLiteral("login")).isConnected());
    }
    void cleanup()
    {
        QDBusConnection::disconnectFromBus(QStringLiteral("login"));
        m_bus.reset();
    }

    void aSessionsPathIsThatOfTheLoginService()
    {
        const QString folder = QStringLiteral("/org/freedesktop/login1/session/");
        QCOMPARE(SessionPause::pathOf("c2"), folder + QStringLiteral("c2"));
        QCOMPARE(SessionPause::pathOf("31"), folder + QStringLiteral("_331"));
        QCOMPARE(SessionPause::pathOf("a-b"), folder + QStringLiteral("a_2db"));
    }

    void sleepIsToldWhenItBegins()
    {
        SessionPause pause;
        QSignalSpy begun(&pause, &SessionPause::begun);
        waitUntilHeard(begun);
        sleep(false);
        QTest::qWait(quietTime);
        QVERIFY(begun.isEmpty());
        sleep(true);
        QTRY_COMPARE(begun.count(), 1);
    }

    void theLockOfTheOwnSessionIsTold()
    {
        qputenv("XDG_SESSION_ID", "2");
        SessionPause pause;
        QSignalSpy begun(&pause, &SessionPause::begun);
        waitUntilHeard(begun);
        lock("3");
        QTest::qWait(quietTime);
        QVERIFY(begun.isEmpty());
        lock("2");
        QTRY_COMPARE(begun.count(), 1);
    }

    void theHintThatTheOwnSessionIsLockedIsTold()
    {
        qputenv("XDG_SESSION_ID", "2");
        SessionPause pause;
        QSignalSpy begun(&pause, &SessionPause::begun);
        waitUntilHeard(begun);
        const QString lockedHint = QStringLiteral("LockedHint");
        hint("3", lockedHint, true);
        hint("2", lockedHint, false);
        hint("2", QStringLiteral("IdleHint"), true);
        QTest::qWait(quietTime);
        QVERIFY(begun.isEmpty());
        hint("2", lockedHint, true);
        QTRY_COMPARE(begun.count(), 1);
    }

    void aBusThatComesLaterIsJoinedAtTheNextAttempt()
    {
        m_bus.reset();
        SessionPause pause;
        QSignalSpy begun(&pause, &SessionPause::begun);
        QTest::qWait(quietTime);
        cleanup();
        init();
        QTRY_VERIFY_WITH_TIMEOUT((pause.tryAgain(), sleep(true), QTest::qWait(20), !begun.isEmpty()), 10'000);
    }

    void aProgramWithoutASessionTakesEachForItsOwn()
    {
        SessionPause pause;
        QSignalSpy begun(&pause, &SessionPause::begun);
        waitUntilHeard(begun);
        lock("3");
        QTRY_COMPARE(begun.count(), 1);
    }

    void withoutABusNothingHappensAndNothingWaits()
    {
        m_bus.reset();
        QElapsedTimer timer;
        timer.start();
        {
            SessionPause pause;
            QTest::qWait(quietTime);
        }
        SessionPause again;
        QVERIFY(timer.elapsed() < 1000);
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, SessionPauseTest)
#include "SessionPauseTest.moc"
