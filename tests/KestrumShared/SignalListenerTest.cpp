#include "KestrumShared/Settings/SignalListener.h"
#include "tests/Support/HelperProcess.h"
#include "tests/Support/QuietTime.h"
#include "tests/Support/TestHome.h"

#include <QCoreApplication>
#include <QRegularExpression>
#include <QTest>

using namespace kestrum;
using SharedSettings::Signal;

class SignalListenerTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void allRegistrationsOfASignalRunTheirHandlers()
    {
        int calls[] = { 0, 0, 0 };
        SignalListener one;
        SignalListener two;
        one.listen(Signal::menuBarChanged, [&calls] { ++calls[0]; });
        one.listen(Signal::menuBarChanged, [&calls] { ++calls[1]; });
        two.listen(Signal::menuBarChanged, [&calls] { ++calls[2]; });
        QVERIFY(one.tokens()[0] != one.tokens()[1]);
        SharedSettings::post(Signal::menuBarChanged);
        QTRY_VERIFY(calls[0] == 1 && calls[1] == 1 && calls[2] == 1);
    }

    void destructionCancelsAllRegistrationsFromFirstToLast()
    {
        // Cancelling a registration destroys its handler's captures, so the holders record the order.
        QList<int> cancelled;
        int calls = 0;
        struct Holder {
            ~Holder() { list->append(number); }
            QList<int>* list;
            int number;
        };
        auto listener = std::make_unique<SignalListener>();
        const Signal heard[] = { Signal::updateAvailable, Signal::openSettings, Signal::updateAvailable };
        for (int i = 0; i < 3; ++i)
            listener->listen(heard[i],
                [&calls, holder = std::shared_ptr<Holder>(new Holder { &cancelled, i })] { ++calls; });
        QCOMPARE(listener->tokens().size(), 3);
        QVERIFY(cancelled.isEmpty());
        listener.reset();
        QCOMPARE(cancelled, (QList<int> { 0, 1, 2 }));
        SharedSettings::post(Signal::updateAvailable);
        SharedSettings::post(Signal::openSettings);
        QTest::qWait(quietTime);
        QCOMPARE(calls, 0);
    }

    void listenerWhoseRegistrationsFailedHasNoTokens()
    {
        // A listener whose registrations failed causes no warning, and its end does not affect other registrations.
        QTest::failOnWarning(QRegularExpression(QStringLiteral(".*")));
        int calls = 0;
        SignalListener witness;
        witness.listen(Signal::openSettings, [&calls] { ++calls; });
        {
            SignalListener listener;
            QVERIFY(listener.tokens().isEmpty());
            listener.listen(Signal::openSettings, {});
            listener.listen(Signal::settings, {});
            QVERIFY(listener.tokens().isEmpty());
        }
        SharedSettings::post(Signal::openSettings);
        QTRY_COMPARE(calls, 1);
    }

    void postOfTheSameProcessReachesItsOwnListeners()
    {
        int calls = 0;
        SignalListener listener;
        listener.listen(Signal::openSettings, [&calls] { ++calls; });
        SharedSettings::post(Signal::openSettings);
        QCOMPARE(calls, 0);
        QTRY_COMPARE(calls, 1);
    }

    void signalNamesAreExactAndCaseSensitive()
    {
        int calls = 0;
        SignalListener listener;
        listener.listen(Signal::settings, [&calls] { ++calls; });
        NotificationCentre::post(SharedSettings::suiteName() + QStringLiteral(".Settings"));
        NotificationCentre::post(SharedSettings::suiteName() + QStringLiteral(".settings2"));
        NotificationCentre::post(QStringLiteral("other.settings"));
        QTest::qWait(quietTime);
        QCOMPARE(calls, 0);
        NotificationCentre::post(SharedSettings::suiteName() + QStringLiteral(".settings"));
        QTRY_COMPARE(calls, 1);
    }

    void tokensStandInTheOrderOfListening()
    {
        SignalListener listener;
        for (const Signal signal :
            { Signal::quitAgent, Signal::settings, Signal::quitAgent, Signal::openSettings })
            listener.listen(signal, [] {});
        QCOMPARE(listener.tokens().size(), 4);
        QVERIFY(std::is_sorted(listener.tokens().begin(), listener.tokens().end()));
    }

    void handlerLivesUntilTheListenerEnds()
    {
        const auto held = std::make_shared<int>(0);
        {
            SignalListener listener;
            listener.listen(Signal::settings, [held] {});
            QCOMPARE(held.use_count(), 2);
        }
        QCOMPARE(held.use_count(), 1);
    }

    void listenerMayBeDestroyedByItsHandler()
    {
        int calls = 0;
        auto listener = std::make_unique<SignalListener>();
        listener->listen(Signal::quitAgent, [&listener, &calls] {
            ++calls;
            listener.reset();
        });
        listener->listen(Signal::quitAgent, [&calls] { ++calls; });
        SharedSettings::post(Signal::quitAgent);
        QTRY_VERIFY(!listener);
        QTest::qWait(quietTime);
        QCOMPARE(calls, 1);
    }

    void postOfAnotherProcessArrives()
    {
        int calls = 0;
        SignalListener listener;
        listener.listen(Signal::updateAvailable, [&calls] { ++calls; });
        HelperProcess helper(
            { QStringLiteral("post"), SharedSettings::name(Signal::updateAvailable), QStringLiteral("1") });
        QCOMPARE(helper.finish(), 0);
        QTRY_COMPARE(calls, 1);
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, SignalListenerTest)
#include "SignalListenerTest.moc"
