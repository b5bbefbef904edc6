#include "KestrumShared/Settings/SignalListener.h"
#include "tests/Support/Kestrumctl.h"

#include <QElapsedTimer>
#include <csignal>
#include <sys/stat.h>

using namespace kestrum;

class KestrumctlSignalsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void aPostReachesAListener()
    {
        Kestrumctl::Running listening("listen settings", "listening");
        QVERIFY(listening.isReady());
        QCOMPARE(ctl("post settings"), done());
        QCOMPARE(listening.lines(1), (QByteArrayList { "settings" }));
    }

    void aLineIsPrintedForEachDelivery()
    {
        Kestrumctl::Running listening("listen menuBarChanged", "listening");
        for (int post = 1; post <= 5; ++post) {
            QCOMPARE(ctl("post menuBarChanged").code, 0);
            QCOMPARE(listening.lines(post), QByteArrayList(post, "menuBarChanged"));
        }
        listening.signal(SIGTERM);
        QCOMPARE(listening.ended().output, QByteArray("menuBarChanged\n").repeated(5));
    }

    void onlyTheNamedSignalsAreHeard()
    {
        Kestrumctl::Running listening("listen openSettings updateAvailable", "listening");
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
        Kestrumctl::Running listening("listen settings settings --count 3 --timeout 0.5", "listening");
        QCOMPARE(ctl("post settings").code, 0);
        QCOMPARE(listening.ended(), (Programs::Ended { 1, "settings\n", "listening\n" }));
    }

    void theCountEndsItWell()
    {
        Kestrumctl::Running listening("listen settings quitAgent --count 2 --timeout=15", "listening");
        QCOMPARE(ctl("post settings").code, 0);
        QCOMPARE(listening.lines(1).size(), 1);
        QCOMPARE(ctl("post quitAgent").code, 0);
        QCOMPARE(listening.ended(), (Programs::Ended { 0, "settings\nquitAgent\n", "listening\n" }));
    }

    void theTimeoutBeforeTheCountIsAFailure()
    {
        QElapsedTimer timer;
        timer.start();
        QVERIFY_FAILED(ctl("listen settings --count 1 --timeout 0.3"), 1, "listening");
        QVERIFY(timer.elapsed() >= 300);
    }

    void theTimeoutWithoutACountIsNone()
    {
        QCOMPARE(ctl("listen settings --timeout 0.1"), (Programs::Ended { 0, {}, "listening\n" }));
    }

    void interruptAndTerminateEndItWell_data()
    {
        QTest::addColumn<QByteArray>("call");
        QTest::addColumn<QByteArray>("readiness");
        QTest::addColumn<int>("number");
        for (const int number : { SIGINT, SIGTERM }) {
            QTest::addRow("listen, signal %d", number)
                << QByteArray("listen settings --count 1") << QByteArray("listening") << number;
            QTest::addRow("watch, signal %d", number)
                << QByteArray("watch") << QByteArray("watching") << number;
        }
    }

    void interruptAndTerminateEndItWell()
    {
        QFETCH(const QByteArray, call);
        QFETCH(const QByteArray, readiness);
        QFETCH(const int, number);
        Kestrumctl::Running running(call.constData(), readiness);
        QVERIFY(running.isReady());
        running.signal(number);
        QCOMPARE(running.ended(), (Programs::Ended { 0, {}, readiness + '\n' }));
    }

    void everySignalIsPostedUnderItsName()
    {
        for (const auto& entry : allCases<SharedSettings::Signal>()) {
            int deliveries = 0;
            SignalListener listener;
            listener.listen(entry.value, [&deliveries] { ++deliveries; });
            QCOMPARE(ctl("post", words(entry.rawValue)).code, 0);
            QTRY_COMPARE(deliveries, 1);
        }
    }

    void anotherSuitesSignalsAreNotHeard()
    {
        Kestrumctl::Running listening("listen settings", "listening");
        QCOMPARE(
            ctl("post settings", Programs::Variables { { "KESTRUM_SETTINGS_SUITE", "test.suite" } }).code, 0);
        QCOMPARE(ctl("post settings").code, 0);
        QCOMPARE(listening.lines(1).size(), 1);
        listening.signal(SIGTERM);
        QCOMPARE(listening.ended().output, QByteArray("settings\n"));
    }

    void aWriteIsNoSignal()
    {
        // Only the settings application announces changes by a signal. A program that writes the suite posts no signal.
        Kestrumctl::Running listening(
            "listen settings quitAgent openSettings checkForUpdates updateAvailable menuBarChanged",
            "listening");
        QVERIFY(listening.isReady());
        QCOMPARE(ctl("write showMemoryItem false").code, 0);
        QCOMPARE(ctl("delete showMemoryItem").code, 0);
        QCOMPARE(ctl("import -", "{\"meterStyle\": \"wave\"}").code, 0);
        // Signals arrive in order: an earlier signal would be printed before this one.
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
        const Programs::Variables variables { { "KESTRUM_SETTINGS_SUITE", suite.toUtf8() } };
        QCOMPARE(ctl("write showCPUItem true", variables).errors, QByteArray());
        qputenv("KESTRUM_SETTINGS_SUITE", suite.toUtf8());
        Kestrumctl::Running listening("listen checkForUpdates updateAvailable settings", "listening");
        qunsetenv("KESTRUM_SETTINGS_SUITE");
        QVERIFY(listening.isReady());
        for (const char* signal : { "checkForUpdates", "updateAvailable", "settings" })
            QCOMPARE(ctl("post", words(signal), variables).errors, QByteArray());
        QCOMPARE(listening.lines(3).size(), 3);
    }

    void withoutAMeetingPlaceBothFailWithTheReason()
    {
        const QString open = TestHome::root() + QStringLiteral("/open to all");
        QVERIFY(QDir().mkpath(open));
        QCOMPARE(::chmod(QFile::encodeName(open).constData(), 0707), 0);
        const Programs::Variables place { { "XDG_RUNTIME_DIR", open.toUtf8() } };
        for (const char* call : { "post settings", "listen settings --timeout 5" }) {
            const auto result = ctl(call, place);
            QVERIFY_FAILED(result, 1, "no signal passes between programs");
            QVERIFY_CONTAINS(result.errors, "open to all");
        }
    }

    void aPostThatCannotBeLeftFailsWithTheReason()
    {
        // The path for signals is no directory, although the runtime directory is usable.
        const QString signalsPlace = TestHome::runtimeDirectory() + QStringLiteral("/kestrum/signals");
        const auto verifyFailure = [] {
            for (const char* call : { "post settings", "listen settings --timeout 5" }) {
                const auto result = ctl(call);
                QVERIFY_FAILED(result, 1, "no signal passes between programs");
                QVERIFY_CONTAINS(result.errors, "/kestrum/signals");
                QCOMPARE(result.errors.count('\n'), 1);
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
