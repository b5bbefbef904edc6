#include "Platform/Signals/NotificationCentre.h"
#include "Platform/Files/RuntimeDirectory.h"
#include "tests/Support/KernelResources.h"
#include "tests/Support/SignalRecorder.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QTest>
#include <QThread>
#include <memory>
#include <vector>

using namespace kestrum;

class NotificationCentreTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        deliverPendingEvents(); // events of the test before
        QVERIFY(RuntimeDirectory::shared());
    }

    void postReachesAllListenersOfItsNameInItsOwnProcess()
    {
        const Ear one(QStringLiteral("suite.settings"));
        const Ear two(QStringLiteral("suite.settings"));
        const Ear other(QStringLiteral("suite.quitAgent"));
        QVERIFY(one.token);
        NotificationCentre::post(QStringLiteral("suite.settings"));
        QCOMPARE(one.count, 0); // post() itself calls no handlers
        QCOMPARE(one.settled(), 1);
        QCOMPARE(two.count, 1);
        QCOMPARE(other.count, 0);
    }

    void namesAreExact_data()
    {
        QTest::addColumn<QString>("posted");
        for (const char* name : { "suite.Settings", "Suite.settings", "suite.settings ", "suite.setting",
                 "suite.settings.", "suite.settings/", "settings", "suite%2Esettings" })
            QTest::newRow(name) << QString::fromLatin1(name);
    }

    void namesAreExact()
    {
        QFETCH(const QString, posted);
        const Ear ear(QStringLiteral("suite.settings"));
        const Ear exact(posted);
        NotificationCentre::post(posted);
        QCOMPARE(exact.settled(), 1);
        QCOMPARE(ear.count, 0);
        NotificationCentre::post(QStringLiteral("suite.settings"));
        QCOMPARE(ear.settled(), 1);
        QCOMPARE(exact.count, 1);
    }

    void anyTextIsAName_data()
    {
        QTest::addColumn<QString>("name");
        QTest::newRow("slashes") << QStringLiteral("a/b/../c");
        QTest::newRow("parent") << QStringLiteral("..");
        QTest::newRow("absolute") << QStringLiteral("/etc/passwd");
        QTest::newRow("blanks and line ends") << QStringLiteral(" \n\t");
        QTest::newRow("umlauts") << QStringLiteral(u"\u00e4\u20ac\U0001F600");
        QTest::newRow("percent") << QStringLiteral("100%");
        QTest::newRow("long") << QString(220, u'x');
    }

    void anyTextIsAName()
    {
        QFETCH(const QString, name);
        const Ear ear(name);
        QVERIFY(ear.token);
        NotificationCentre::post(name);
        QTRY_COMPARE(ear.count, 1);
        const QStringList outside = QDir(TestHome::runtimeDirectory() + QStringLiteral("/kestrum"))
                                        .entryList(QDir::Files | QDir::Hidden);
        QCOMPARE(outside, QStringList());
    }

    void textThatMakesNoFileNameIsNoName()
    {
        for (const QString& name : { QString(), QString(256, u'x'), QString(100, u'/') }) {
            const Ear ear(name);
            QVERIFY(!ear.token);
            NotificationCentre::post(name);
        }
        deliverPendingEvents();
    }

    void missingHandlerIsNoRegistration()
    {
        QVERIFY(!NotificationCentre::registerDispatch(QStringLiteral("x"), {}));
    }

    void tokensIncrease()
    {
        const Ear first(QStringLiteral("x"));
        const auto between = NotificationCentre::registerDispatch(QStringLiteral("x"), [] {});
        NotificationCentre::cancel(*between);
        const Ear last(QStringLiteral("x"));
        QVERIFY(*first.token < *between);
        QVERIFY(*between < *last.token);
    }

    void postsFromManyThreadsArriveOnTheMainThread()
    {
        std::vector<std::unique_ptr<Ear>> ears;
        std::vector<std::unique_ptr<QThread>> posters;
        for (int i = 0; i < 4; ++i) {
            const QString name = QStringLiteral("thread%1").arg(i);
            ears.push_back(std::make_unique<Ear>(name));
            posters.emplace_back(QThread::create([name] {
                for (int n = 0; n < 500; ++n)
                    NotificationCentre::post(name);
            }));
        }
        // The first thread that finds no directory creates the directory.
        QVERIFY(QDir(signalsDirectory()).removeRecursively());
        for (const auto& poster : posters)
            poster->start();
        for (const auto& poster : posters)
            QVERIFY(poster->wait(20'000));
        for (const auto& ear : ears)
            QTRY_COMPARE(ear->thread, QCoreApplication::instance()->thread());
    }

    void postsInQuickSuccessionAreOneDelivery()
    {
        const Ear ear(QStringLiteral("x"));
        for (int i = 0; i < 1000; ++i)
            NotificationCentre::post(QStringLiteral("x"));
        QCOMPARE(ear.settled(), 1);
    }

    void everyPostIsOneDelivery()
    {
        // The first post of a name, which creates the signal's file, is also delivered once.
        const Ear ear(QStringLiteral("new"));
        for (int i = 1; i <= 5; ++i) {
            NotificationCentre::post(QStringLiteral("new"));
            QCOMPARE(ear.settled(), i);
        }
    }

    void handlersOfASignalRunInTheOrderOfRegistration()
    {
        QList<int> order;
        QList<NotificationCentre::Token> tokens;
        for (int i = 0; i < 5; ++i)
            tokens << *NotificationCentre::registerDispatch(QStringLiteral("a"), [&order, i] { order << i; });
        NotificationCentre::post(QStringLiteral("a"));
        QTRY_COMPARE(order, (QList<int> { 0, 1, 2, 3, 4 }));
        for (const NotificationCentre::Token token : tokens)
            NotificationCentre::cancel(token);
    }

    void whatWasPostedLastComesLast()
    {
        QStringList heard;
        const QStringList names { QStringLiteral("open"), QStringLiteral("close") };
        QList<NotificationCentre::Token> tokens;
        for (const QString& name : names)
            tokens.append(
                *NotificationCentre::registerDispatch(name, [&heard, name] { heard.append(name); }));
        for (const char* post : { "open", "close", "open" })
            NotificationCentre::post(QString::fromLatin1(post));
        deliverPendingEvents();
        QCOMPARE(heard.join(u' '), QStringLiteral("close open"));
        for (const auto token : tokens)
            NotificationCentre::cancel(token);
    }

    void cancelledHandlerDoesNotRunForAnEarlierPost()
    {
        const Ear witness(QStringLiteral("x"));
        int calls = 0;
        const auto token = NotificationCentre::registerDispatch(QStringLiteral("x"), [&calls] { ++calls; });
        NotificationCentre::post(QStringLiteral("x"));
        NotificationCentre::cancel(*token);
        QTRY_COMPARE(witness.count, 1);
        QCOMPARE(calls, 0);
    }

    void handlerCancelledInTheBatchDoesNotRun()
    {
        std::unique_ptr<Ear> victim;
        int calls = 0;
        const auto token = NotificationCentre::registerDispatch(QStringLiteral("x"), [&] {
            ++calls;
            victim.reset();
        });
        victim = std::make_unique<Ear>(QStringLiteral("x"));
        const Ear witness(QStringLiteral("x"));
        NotificationCentre::post(QStringLiteral("x"));
        QTRY_COMPARE(witness.count, 1);
        QCOMPARE(calls, 1);
        QVERIFY(!victim);
        NotificationCentre::cancel(*token);
    }

    void handlerMayCancelItself()
    {
        int calls = 0;
        std::optional<NotificationCentre::Token> token;
        const QByteArray kept("what the handler holds lives while it runs");
        QByteArray seen;
        token
            = NotificationCentre::registerDispatch(QStringLiteral("x"), [&token, &calls, &seen, copy = kept] {
                  NotificationCentre::cancel(*token); // after the last registration, the watch ends, too
                  ++calls;
                  seen = copy;
              });
        NotificationCentre::post(QStringLiteral("x"));
        QTRY_COMPARE(calls, 1);
        QCOMPARE(seen, kept);
        NotificationCentre::post(QStringLiteral("x"));
        deliverPendingEvents();
        QCOMPARE(calls, 1);
    }

    void handlerMayRegister()
    {
        std::unique_ptr<Ear> made;
        const auto token = NotificationCentre::registerDispatch(QStringLiteral("x"), [&made] {
            if (!made)
                made = std::make_unique<Ear>(QStringLiteral("x"));
        });
        NotificationCentre::post(QStringLiteral("x"));
        QTRY_VERIFY(made);
        QCOMPARE(made->settled(), 0);
        NotificationCentre::post(QStringLiteral("x"));
        QTRY_COMPARE(made->count, 1);
        NotificationCentre::cancel(*token);
    }

    void postBeforeTheRegistrationIsNotDelivered()
    {
        NotificationCentre::post(QStringLiteral("x"));
        const Ear first(QStringLiteral("x"));
        QCOMPARE(first.settled(), 0);
    }

    void registrationLeavesEarlierPostsToTheOthers()
    {
        const Ear early(QStringLiteral("x"));
        NotificationCentre::post(QStringLiteral("x"));
        const Ear late(QStringLiteral("x"));
        QCOMPARE(early.count, 0); // registering itself calls no handlers
        QCOMPARE(early.settled(), 1);
        QCOMPARE(late.count, 0);
        NotificationCentre::post(QStringLiteral("x"));
        QCOMPARE(late.settled(), 1);
        QCOMPARE(early.count, 2);
    }

    void cancellingWhatIsNotThereDoesNothing()
    {
        const Ear ear(QStringLiteral("x"));
        NotificationCentre::cancel(-1);
        NotificationCentre::cancel(*ear.token + 1);
        NotificationCentre::post(QStringLiteral("x"));
        QTRY_COMPARE(ear.count, 1);
    }

    void withoutListenersNothingIsWatched()
    {
        // A program without listeners must not be woken by posts of other programs.
        {
            const Ear ear(QStringLiteral("x"));
            QVERIFY(!kernelWatches().isEmpty());
        }
        QVERIFY(kernelWatches().isEmpty());
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, NotificationCentreTest)
#include "NotificationCentreTest.moc"
