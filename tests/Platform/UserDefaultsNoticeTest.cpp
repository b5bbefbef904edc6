#include "tests/Support/ObservedSuite.h"

#include <QCoreApplication>
#include <QThread>
#include <functional>

using namespace kestrum;

class UserDefaultsNoticeTest : public QObject, ObservedSuite {
    Q_OBJECT

public:
    /// Creates a store, saves a value, connects an observer and saves again, all before the application object exists.
    static void prepareEarlyStore()
    {
        s_early = UserDefaults::withSuiteName(QStringLiteral("early"));
        s_early->set("before", 1);
        QObject::connect(s_early.get(), &UserDefaults::changed, [] { ++s_earlyNotices; });
        s_early->set("a", 1);
    }

private Q_SLOTS:
    void init() { nextSuite(); }
    void cleanup() { s_early.reset(); }

    void storeMadeBeforeTheApplicationTellsLater()
    {
        QVERIFY(s_early);
        QCOMPARE(s_early->number("before"), 1.0);
        deliverPendingEvents();
        QCOMPARE(s_earlyNotices, 1);
        write(s_early->filePath(), textOf(2));
        QTRY_COMPARE_WITH_TIMEOUT(s_earlyNotices, 2, longestDelay);
        QCOMPARE(s_early->number("a"), 2.0);
    }

    void manyWritesOfATurnAreToldOnce()
    {
        Observed observed(m_suite);
        for (int turn = 1; turn <= 3; ++turn) {
            for (int i = 0; i < 5; ++i)
                QVERIFY(observed.store->set("a", turn * 10 + i));
            QCOMPARE(observed.settled(), turn);
        }
    }

    void ownSaveIsNotToldAgainByTheWatch()
    {
        Observed observed(m_suite);
        for (int i = 1; i <= 10; ++i) {
            QVERIFY(observed.store->set("a", i));
            QCOMPARE(observed.settled(), i);
            QCOMPARE(
                observed.named(), QByteArrayList { "a" }); // also the first one, in a store without any value
        }
    }

    void noticeIsNotSentWithinTheWrite()
    {
        Observed observed(m_suite);
        QVERIFY(observed.store->set("a", 1));
        QVERIFY(observed.store->remove("a"));
        QCOMPARE(observed.notices, 0);
        QCOMPARE(observed.settled(), 1);
    }

    void equalWriteTellsNobody()
    {
        Observed observed(m_suite);
        Observed other(m_suite);
        QVERIFY(observed.store->set("a", QStringLiteral("x")));
        QCOMPARE(other.settled(), 1);
        QVERIFY(observed.store->set("a", QStringLiteral("x")));
        QVERIFY(other.store->set("a", QStringLiteral("x")));
        QVERIFY(other.store->remove("absent"));
        QCOMPARE(observed.settled(), 1);
        QCOMPARE(other.notices, 1);
    }

    void failedSaveTellsNoChange()
    {
        Observed observed(m_suite);
        QVERIFY(!observed.store->set("a", qQNaN()));
        QCOMPARE(observed.settled(), 0);
    }

    void foreignSaveIsToldOnce()
    {
        Observed observed(m_suite);
        const auto other = opened();
        for (int i = 1; i <= 10; ++i) {
            QVERIFY(other->set("a", i));
            QTRY_COMPARE_WITH_TIMEOUT(observed.notices, i, longestDelay);
            QCOMPARE(observed.store->number("a"), double(i));
            QCOMPARE(observed.settled(), i);
        }
    }

    void foreignSaveThatWasReadBeforeItsNoticeIsToldOnce()
    {
        Observed observed(m_suite);
        QVERIFY(opened()->set("a", 1));
        QCOMPARE(observed.store->number("a"), 1.0);
        QCOMPARE(observed.notices, 0);
        QCOMPARE(observed.settled(), 1);
    }

    void saveOfAnotherThreadIsToldOnTheMainThread()
    {
        const auto store = opened();
        QThread* teller = nullptr;
        connect(store.get(), &UserDefaults::changed, [&] { teller = QThread::currentThread(); });
        const std::unique_ptr<QThread> writer(QThread::create([&] { store->set("a", 1); }));
        writer->start();
        QVERIFY(writer->wait(5000));
        QTRY_COMPARE_WITH_TIMEOUT(teller, QThread::currentThread(), longestDelay);
    }

    void storeMadeOnAnotherThreadBelongsToTheMainThread()
    {
        std::unique_ptr<UserDefaults> store;
        QThread* teller = nullptr;
        const std::unique_ptr<QThread> maker(QThread::create([&] {
            store = opened();
            connect(
                store.get(), &UserDefaults::changed, store.get(), [&] { teller = QThread::currentThread(); });
        }));
        maker->start();
        QVERIFY(maker->wait(5000));
        QCOMPARE(store->thread(), QThread::currentThread());
        QVERIFY(QDir().mkpath(TestHome::configDirectory()));
        deliverPendingEvents(); // observing begins in the event loop
        write(path(), textOf(1));
        QTRY_COMPARE_WITH_TIMEOUT(teller, QThread::currentThread(), longestDelay);
        QCOMPARE(store->number("a"), 1.0);
    }

    void changeBeforeTheFirstObserverIsNotTold()
    {
        const auto store = opened();
        QVERIFY(store->set("a", 1));
        int notices = 0;
        connect(store.get(), &UserDefaults::changed, this, [&] { ++notices; });
        deliverPendingEvents();
        QCOMPARE(notices, 0);
    }

    // A caller that read the old value must be notified of the new one.
    void changeThatWasNotReadYetIsToldToTheFirstObserver()
    {
        const auto store = opened();
        QVERIFY(!store->number("a"));
        QVERIFY(opened()->set("a", 1));
        int notices = 0;
        connect(store.get(), &UserDefaults::changed, this, [&] { ++notices; });
        deliverPendingEvents();
        QCOMPARE(notices, 1);
    }

    void objectMayEndWithANoticeOnItsWay()
    {
        int notices = 0;
        {
            Observed observed(m_suite);
            QObject::connect(observed.store.get(), &UserDefaults::changed, [&] { ++notices; });
            QVERIFY(observed.store->set("a", 1));
            write(path(), textOf(2));
        }
        deliverPendingEvents();
        QCOMPARE(notices, 0);
    }

    void noticeNamesTheChangedKeys_data()
    {
        QTest::addColumn<Change>("change");
        QTest::addColumn<QByteArray>("keys");
        const auto row = [](const char* name, const Change& change, const char* keys) {
            QTest::newRow(name) << change << QByteArray(keys);
        };
        row(
            "own write",
            [](auto& store) {
                store.apply(json({ { "a", 3 }, { "b", 3 } }), {});
            },
            "a,b");
        row(
            "one of several",
            [](auto& store) {
                store.apply(json({ { "a", 2 }, { "b", 3 } }), {});
            },
            "b");
        // "a" falls back to its default, and "b" has no default.
        row(
            "removed",
            [](auto& store) {
                store.apply({}, { QStringLiteral("a"), QStringLiteral("b") });
            },
            "a,b");
        row(
            "several writes of a turn, once and in order",
            [](auto& store) {
                for (const char* key : { "b", "c", "a", "b" })
                    store.set(key, *store.number(key) + 1);
            },
            "a,b,c");
        // An observer may have read the value between the two changes.
        row(
            "the old value again", [](auto& store) { store.set("d", 1), store.remove("d"); }, "d");
        // "a" is removed, "b" stays equal, "c" changes and "d" is new.
        row(
            "save of somebody else",
            [](auto& store) { replace(store.filePath(), R"({ "b": 2, "c": 3, "d": 1 })"); }, "a,c,d");
    }

    void noticeNamesTheChangedKeys()
    {
        QFETCH(const Change, change);
        QFETCH(const QByteArray, keys);
        Observed observed(m_suite);
        observed.store->registerDefaults(json({ { "a", 1 } }));
        QVERIFY(observed.store->apply(json({ { "a", 2 }, { "b", 2 }, { "c", 2 } }), {}));
        QCOMPARE(observed.named().size(), 1);
        change(*observed.store);
        QCOMPARE(observed.named(), QByteArrayList { keys });
    }

    void keyWhoseValueInEffectStaysIsNotNamed()
    {
        const QString administered = TestHome::root() + QStringLiteral("/xdg/kestrum");
        QVERIFY(QDir().mkpath(administered));
        write(administered + u'/' + m_suite + QStringLiteral(".json"), R"({ "b": 2 })");
        Observed observed(m_suite);
        observed.store->registerDefaults(json({ { "a", 1 }, { "b", 1 } }));
        // The stored values change, but no effective value does, so the notice names no key.
        QVERIFY(observed.store->apply(json({ { "a", 1 }, { "b", 2 } }), {}));
        QCOMPARE(observed.named(), QByteArrayList { "" });
        QVERIFY(observed.store->apply(json({ { "a", 1 }, { "b", 1 } }), {}));
        QCOMPARE(observed.named(), QByteArrayList { "b" });
        QVERIFY(observed.store->apply({}, { QStringLiteral("a"), QStringLiteral("b") }));
        QCOMPARE(observed.named(), QByteArrayList { "b" });
    }

    void registeringDefaultsTellsNobody()
    {
        Observed observed(m_suite);
        observed.store->registerDefaults(json({ { "a", 1 } }));
        QCOMPARE(observed.settled(), 0);
        QVERIFY(observed.store->set("b", 1));
        QCOMPARE(observed.named(), QByteArrayList { "b" });
    }

    void keysThatFallBackInADamagedFileAreNamed()
    {
        Observed observed(m_suite);
        observed.store->registerDefaults(json({ { "b", 2 }, { "c", 3 } }));
        QVERIFY(observed.store->apply(json({ { "a", 1 }, { "b", 1 }, { "c", 3 } }), {}));
        QCOMPARE(observed.named().size(), 1);
        // The complete members of a cut-off file are used. The default of `c` equals its old value, so `c` is not named.
        write(path(), R"({ "a": 1, "b": )");
        QTRY_COMPARE_WITH_TIMEOUT(observed.keys, QByteArrayList { "b" }, longestDelay);
        QCOMPARE(observed.store->number("b"), 2.0);
        observed.keys.clear();
        write(path(), "nothing of it");
        QTRY_COMPARE_WITH_TIMEOUT(observed.keys, QByteArrayList { "a" }, longestDelay);
    }

    void observerHearsOfItsOwnKeysOnlyAndUntilItEnds()
    {
        Observed observed(m_suite);
        int heard = 0;
        auto owner = std::make_unique<QObject>();
        observed.store->observe({ QStringLiteral("a"), QStringLiteral("b") }, owner.get(), [&] { ++heard; });
        const auto heardAfter = [&](std::initializer_list<const char*> keys) {
            for (const char* key : keys)
                observed.store->set(key, observed.notices + 1);
            observed.settled();
            return heard;
        };
        QCOMPARE(heardAfter({ "c", "d" }), 0);
        QCOMPARE(heardAfter({ "b", "c" }), 1);
        QCOMPARE(heardAfter({ "a", "b" }), 2);
        owner.reset();
        QCOMPARE(heardAfter({ "a" }), 2);
        QCOMPARE(observed.notices, 4);
    }

    // The file is changed by a hard link in a folder without a watch.
    void synchronizingFindsAChangeThatNobodyTold()
    {
        Observed observed(m_suite);
        QVERIFY(observed.store->set("a", 1));
        QCOMPARE(observed.settled(), 1);
        const QString elsewhere = TestHome::root() + QStringLiteral("/elsewhere.json");
        QCOMPARE(::link(QFile::encodeName(path()).constData(), QFile::encodeName(elsewhere).constData()), 0);
        write(elsewhere, textOf(2));
        QCOMPARE(observed.settled(), 1);
        observed.store->synchronize();
        QCOMPARE(observed.settled(), 2);
        QCOMPARE(observed.keys.last(), "a");
        QCOMPARE(observed.store->number("a"), 2.0);
    }

private:
    using Change = std::function<void(UserDefaults&)>;

    static inline std::unique_ptr<UserDefaults> s_early;
    static inline int s_earlyNotices = 0;
};

KESTRUM_TEST_MAIN_OF(UserDefaultsNoticeTest)(int argc, char** argv)
{
    const TestHome home;
    UserDefaultsNoticeTest::prepareEarlyStore();
    const QCoreApplication application(argc, argv);
    UserDefaultsNoticeTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "UserDefaultsNoticeTest.moc"
