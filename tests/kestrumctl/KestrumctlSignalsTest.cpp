#include "KestrumShared/Settings/SignalListener.h"
#include "tests/Support/Kestrumctl.h"
#include "tests/Support/TestHome.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QTest>
#include <csignal>

using namespace kestrum;

namespace {

using Signal = SharedSettings::Signal;

} // namespace

class KestrumctlSignalsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void aPostReachesAListener()
    {
        Kestrumctl::Running listening(words("listen settings"), "listening");
        QVERIFY(listening.isReady());
        const auto posted = ctl("post settings");
        QCOMPARE(posted.code, 0);
        QCOMPARE(posted.output, QByteArray());
        QCOMPARE(posted.errors, QByteArray());
        QCOMPARE(listening.lines(1), (QByteArrayList { "settings" }));
    }

    void aLineIsPrintedForEachDelivery()
    {
        Kestrumctl::Running listening(words("listen menuBarChanged"), "listening");
        for (int post = 1; post <= 5; ++post) {
            QCOMPARE(ctl("post menuBarChanged").code, 0);
            QCOMPARE(listening.lines(post), QByteArrayList(post, "menuBarChanged"));
        }
        listening.signal(SIGTERM);
        QCOMPARE(listening.ended().output, QByteArray("menuBarChanged\n").repeated(5));
    }

    void onlyTheNamedSignalsAreHeard()
    {
        Kestrumctl::Running listening(words("listen openSettings updateAvailable"), "listening");
        QCOMPARE(ctl("post settings").code, 0);
        QCOMPARE(ctl("post quitAgent").code, 0);
        QCOMPARE(ctl("post updateAvailable").code, 0);
        QCOMPARE(listening.lines(1), (QByteArrayList { "updateAvailable" }));
        QCOMPARE(ctl("post openSettings").code, 0);
        QCOMPARE(listening.lines(2), (QByteArrayList { "updateAvailable", "openSettings" }));
        listening.signal(SIGINT);
        QCOMPARE(listening.ended().output, QByteArray("updateAvailable\nopenSettings\n"));
    }

    void aSignalNamedTwiceIsHeardOnce()
    {
        Kestrumctl::Running listening(words("listen settings settings --count 3 --timeout 0.5"), "listening");
        QCOMPARE(ctl("post settings").code, 0);
        const auto end = listening.ended();
        QCOMPARE(end.output, QByteArray("settings\n"));
        QCOMPARE(end.code, 1);
    }

    void theCountEndsItWell()
    {
        Kestrumctl::Running listening(words("listen settings quitAgent --count 2 --timeout=15"), "listening");
        QCOMPARE(ctl("post settings").code, 0);
        QCOMPARE(listening.lines(1).size(), 1);
        QCOMPARE(ctl("post quitAgent").code, 0);
        const auto end = listening.ended();
        QCOMPARE(end.code, 0);
        QCOMPARE(end.output, QByteArray("settings\nquitAgent\n"));
        QCOMPARE(end.errors, QByteArray("listening\n"));
    }

    void theTimeoutBeforeTheCountIsAFailure()
    {
        QElapsedTimer timer;
        timer.start();
        const auto result = ctl("listen settings --count 1 --timeout 0.3");
        QCOMPARE(result.code, 1);
        QCOMPARE(result.output, QByteArray());
        QVERIFY(timer.elapsed() >= 300);
    }

    void theTimeoutWithoutACountIsNone()
    {
        const auto result = ctl("listen settings --timeout 0.1");
        QCOMPARE(result.code, 0);
        QCOMPARE(result.output, QByteArray());
    }

    void interruptAndTerminateEndItWell_data()
    {
        QTest::addColumn<int>("number");
        QTest::newRow("SIGINT") << SIGINT;
        QTest::newRow("SIGTERM") << SIGTERM;
    }

    void interruptAndTerminateEndItWell()
    {
        QFETCH(const int, number);
        Kestrumctl::Running listening(words("listen settings --count 1"), "listening");
        QVERIFY(listening.isReady());
        listening.signal(number);
        QCOMPARE(listening.ended().code, 0);
    }

    void everySignalIsPostedUnderItsName()
    {
        for (const auto& entry : allCases<Signal>()) {
            int deliveries = 0;
            SignalListener listener;
            listener.listen(entry.value, [&deliveries] { ++deliveries; });
            QCOMPARE(ctl({ QStringLiteral("post"), QString::fromUtf8(entry.rawValue) }).code, 0);
            QTRY_COMPARE(deliveries, 1);
        }
    }

    void anotherSuitesSignalsAreNotHeard()
    {
        Kestrumctl::Running listening(words("listen settings"), "listening");
        QCOMPARE(ctl("post settings",
                     { { QStringLiteral("KESTRUM_SETTINGS_SUITE"), QStringLiteral("test.suite") } })
                     .code,
            0);
        QCOMPARE(ctl("post settings").code, 0);
        QCOMPARE(listening.lines(1).size(), 1);
        listening.signal(SIGTERM);
        QCOMPARE(listening.ended().output, QByteArray("settings\n"));
    }

    void aWriteIsNoSignal()
    {
        // Only the settings application announces changes by a signal; a program that writes the suite does not.
        Kestrumctl::Running listening(
            words("listen settings quitAgent openSettings checkForUpdates updateAvailable menuBarChanged"),
            "listening");
        QVERIFY(listening.isReady());
        QCOMPARE(ctl("write showMemoryItem false").code, 0);
        QCOMPARE(ctl("delete showMemoryItem").code, 0);
        QCOMPARE(Kestrumctl::run(words("import -"), "{\"meterStyle\": \"wave\"}").code, 0);
        // Signals arrive in order: an earlier one would be printed before this one.
        QCOMPARE(ctl("post menuBarChanged").code, 0);
        QCOMPARE(listening.lines(1), (QByteArrayList { "menuBarChanged" }));
        QTest::qWait(100);
        listening.signal(SIGTERM);
        QCOMPARE(listening.ended().output, QByteArray("menuBarChanged\n"));
    }

    void theSuiteWithTheLongestNameHasSignals_data()
    {
        QTest::addColumn<QString>("suite");
        QTest::newRow("of letters") << QString(234, u'x');
        QTest::newRow("of what a file's name spells by three") << QString(78, u'/');
    }

    void theSuiteWithTheLongestNameHasSignals()
    {
        QFETCH(const QString, suite);
        const Kestrumctl::Variables variables { { QStringLiteral("KESTRUM_SETTINGS_SUITE"), suite } };
        QCOMPARE(ctl("write showCPUItem true", variables).errors, QByteArray());
        qputenv("KESTRUM_SETTINGS_SUITE", suite.toUtf8());
        Kestrumctl::Running listening(words("listen checkForUpdates updateAvailable settings"), "listening");
        qunsetenv("KESTRUM_SETTINGS_SUITE");
        QVERIFY(listening.isReady());
        for (const char* signal : { "checkForUpdates", "updateAvailable", "settings" })
            QCOMPARE(ctl((QByteArray("post ") + signal).constData(), variables).errors, QByteArray());
        QCOMPARE(listening.lines(3).size(), 3);
    }

    void withoutAMeetingPlaceBothFailWithTheReason()
    {
        const QString open = TestHome::root() + QStringLiteral("/open to all");
        QVERIFY(QDir().mkpath(open));
        QVERIFY(QFile::setPermissions(open,
            QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner | QFile::ReadOther | QFile::WriteOther
                | QFile::ExeOther));
        const Kestrumctl::Variables place { { QStringLiteral("XDG_RUNTIME_DIR"), open } };
        for (const char* call : { "post settings", "listen settings --timeout 5" }) {
            const auto result = ctl(call, place);
            QCOMPARE(result.code, 1);
            QCOMPARE(result.output, QByteArray());
            QVERIFY2(result.errors.contains("no signal passes between programs"), result.errors.constData());
            QVERIFY2(result.errors.contains("open to all"), result.errors.constData());
        }
    }

    void aPostThatCannotBeLeftFailsWithTheReason()
    {
        // The path for signals is no directory, although the runtime directory is fine.
        const QString signalsPlace = TestHome::runtimeDirectory() + QStringLiteral("/kestrum/signals");
        const auto verifyFailure = [] {
            for (const char* call : { "post settings", "listen settings --timeout 5" }) {
                const auto result = ctl(call);
                QCOMPARE(result.code, 1);
                QVERIFY2(result.errors.contains("no signal passes between programs")
                        && result.errors.contains("/kestrum/signals") && result.errors.count('\n') == 1,
                    result.errors.constData());
            }
        };
        QCOMPARE(ctl("post settings").code, 0);
        QVERIFY(QDir(signalsPlace).removeRecursively());
        QVERIFY(QFile(signalsPlace).open(QIODevice::WriteOnly));
        verifyFailure();
        QVERIFY(QFile::remove(signalsPlace));
        QVERIFY(QFile::link(TestHome::root(), signalsPlace));
        verifyFailure();
        QVERIFY(QFile::remove(signalsPlace));
        QCOMPARE(ctl("post settings").code, 0);
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, KestrumctlSignalsTest)
#include "KestrumctlSignalsTest.moc"
