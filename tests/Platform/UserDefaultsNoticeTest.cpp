#include "tests/Support/ObservedSuite.h"

#include <QCoreApplication>
#include <QThread>

using namespace kestrum;

class UserDefaultsNoticeTest : public QObject, ObservedSuite {
    Q_OBJECT

public:
    /// Creates a store, saves a value, connects an observer and saves again, all before the application object exists.
    static void prepareEarlyStore();

private Q_SLOTS:
    void init() { nextSuite(); }
    void cleanup() { s_early.reset(); }
    void storeMadeBeforeTheApplicationTellsLater();
    void manyWritesOfATurnAreToldOnce();
    void ownSaveIsNotToldAgainByTheWatch();
    void noticeIsNotSentWithinTheWrite();
    void equalWriteTellsNobody();
    void failedSaveTellsNoChange();
    void foreignSaveIsToldOnce();
    void foreignSaveThatWasReadBeforeItsNoticeIsToldOnce();
    void saveOfAnotherThreadIsToldOnTheMainThread();
    void storeMadeOnAnotherThreadBelongsToTheMainThread();
    void changeBeforeTheFirstObserverIsNotTold();
    void changeThatWasNotReadYetIsToldToTheFirstObserver();
    void objectMayEndWithANoticeOnItsWay();
    void ownWriteNamesItsKey();
    void removedKeyIsNamed();
    void allKeysOfATurnAreNamedOnceAndInOrder();
    void keyThatHasItsOldValueAgainIsNamed();
    void saveOfSomebodyElseNamesAllItsKeys();
    void keyWhoseValueInEffectStaysIsNotNamed();
    void registeringDefaultsTellsNobody();
    void keysThatFallBackInADamagedFileAreNamed();
    void observerHearsOfItsOwnKeysOnlyAndUntilItEnds();
    void synchronizingFindsAChangeThatNobodyTold();

private:
    static std::unique_ptr<UserDefaults> s_early;
    static int s_earlyNotices;
};

std::unique_ptr<UserDefaults> UserDefaultsNoticeTest::s_early;
int UserDefaultsNoticeTest::s_earlyNotices = 0;

void UserDefaultsNoticeTest::prepareEarlyStore()
{
    s_early = UserDefaults::withSuiteName(QStringLiteral("early"));
    s_early->set("before", 1);
    QObject::connect(s_early.get(), &UserDefaults::changed, [] { ++s_earlyNotices; });
    s_early->set("a", 1);
}

void UserDefaultsNoticeTest::storeMadeBeforeTheApplicationTellsLater()
{
    QVERIFY(s_early);
    QCOMPARE(s_early->number("before"), 1.0);
    QTRY_COMPARE_WITH_TIMEOUT(s_earlyNotices, 1, longestDelay);
    QTest::qWait(quietTime);
    QCOMPARE(s_earlyNotices, 1);
    write(s_early->filePath(), textOf(2));
    QTRY_COMPARE_WITH_TIMEOUT(s_earlyNotices, 2, longestDelay);
    QCOMPARE(s_early->number("a"), 2.0);
}

void UserDefaultsNoticeTest::manyWritesOfATurnAreToldOnce()
{
    Observed observed(m_suite);
    for (int turn = 1; turn <= 3; ++turn) {
        for (int i = 0; i < 5; ++i)
            QVERIFY(observed.store->set("a", turn * 10 + i));
        QTRY_COMPARE_WITH_TIMEOUT(observed.notices, turn, longestDelay);
        QTest::qWait(quietTime);
        QCOMPARE(observed.notices, turn);
    }
}

void UserDefaultsNoticeTest::ownSaveIsNotToldAgainByTheWatch()
{
    Observed observed(m_suite);
    for (int i = 1; i <= 10; ++i) {
        QVERIFY(observed.store->set("a", i));
        QTest::qWait(quietTime); // long enough for the watch to report the save
        QCOMPARE(observed.notices, i);
    }
}

void UserDefaultsNoticeTest::noticeIsNotSentWithinTheWrite()
{
    Observed observed(m_suite);
    QVERIFY(observed.store->set("a", 1));
    QVERIFY(observed.store->remove("a"));
    QCOMPARE(observed.notices, 0);
    QTRY_COMPARE_WITH_TIMEOUT(observed.notices, 1, longestDelay);
}

void UserDefaultsNoticeTest::equalWriteTellsNobody()
{
    Observed observed(m_suite);
    Observed other(m_suite);
    QVERIFY(observed.store->set("a", QStringLiteral("x")));
    QTRY_COMPARE_WITH_TIMEOUT(other.notices, 1, longestDelay);
    QTest::qWait(quietTime);
    QVERIFY(observed.store->set("a", QStringLiteral("x")));
    QVERIFY(other.store->set("a", QStringLiteral("x")));
    QVERIFY(other.store->remove("absent"));
    QTest::qWait(quietTime);
    QCOMPARE(observed.notices, 1);
    QCOMPARE(other.notices, 1);
}

void UserDefaultsNoticeTest::failedSaveTellsNoChange()
{
    Observed observed(m_suite);
    QVERIFY(!observed.store->set("a", qQNaN()));
    QTest::qWait(quietTime);
    QCOMPARE(observed.notices, 0);
}

void UserDefaultsNoticeTest::foreignSaveIsToldOnce()
{
    Observed observed(m_suite);
    const auto other = UserDefaults::withSuiteName(m_suite);
    for (int i = 1; i <= 10; ++i) {
        QVERIFY(other->set("a", i));
        QTRY_COMPARE_WITH_TIMEOUT(observed.notices, i, longestDelay);
        QCOMPARE(observed.store->number("a"), double(i));
        QTest::qWait(quietTime);
        QCOMPARE(observed.notices, i);
    }
}

void UserDefaultsNoticeTest::foreignSaveThatWasReadBeforeItsNoticeIsToldOnce()
{
    Observed observed(m_suite);
    const auto other = UserDefaults::withSuiteName(m_suite);
    QVERIFY(other->set("a", 1));
    QCOMPARE(observed.store->number("a"), 1.0);
    QCOMPARE(observed.notices, 0);
    QTRY_COMPARE_WITH_TIMEOUT(observed.notices, 1, longestDelay);
    QTest::qWait(quietTime);
    QCOMPARE(observed.notices, 1);
}

void UserDefaultsNoticeTest::saveOfAnotherThreadIsToldOnTheMainThread()
{
    const auto store = UserDefaults::withSuiteName(m_suite);
    QThread* teller = nullptr;
    connect(store.get(), &UserDefaults::changed, [&] { teller = QThread::currentThread(); });
    const std::unique_ptr<QThread> writer(QThread::create([&] { store->set("a", 1); }));
    writer->start();
    QVERIFY(writer->wait(5000));
    QTRY_COMPARE_WITH_TIMEOUT(teller, QThread::currentThread(), longestDelay);
}

void UserDefaultsNoticeTest::storeMadeOnAnotherThreadBelongsToTheMainThread()
{
    std::unique_ptr<UserDefaults> store;
    QThread* teller = nullptr;
    const std::unique_ptr<QThread> maker(QThread::create([&] {
        store = UserDefaults::withSuiteName(m_suite);
        connect(store.get(), &UserDefaults::changed, store.get(), [&] { teller = QThread::currentThread(); });
    }));
    maker->start();
    QVERIFY(maker->wait(5000));
    QCOMPARE(store->thread(), QThread::currentThread());
    QVERIFY(QDir().mkpath(TestHome::configDirectory()));
    QTest::qWait(quietTime); // observing begins in the event loop
    write(path(), textOf(1));
    QTRY_COMPARE_WITH_TIMEOUT(teller, QThread::currentThread(), longestDelay);
    QCOMPARE(store->number("a"), 1.0);
}

void UserDefaultsNoticeTest::changeBeforeTheFirstObserverIsNotTold()
{
    const auto store = UserDefaults::withSuiteName(m_suite);
    QVERIFY(store->set("a", 1));
    int notices = 0;
    connect(store.get(), &UserDefaults::changed, this, [&] { ++notices; });
    QTest::qWait(quietTime);
    QCOMPARE(notices, 0);
}

// The reader of the old value must learn about the new one.
void UserDefaultsNoticeTest::changeThatWasNotReadYetIsToldToTheFirstObserver()
{
    const auto store = UserDefaults::withSuiteName(m_suite);
    QVERIFY(!store->number("a"));
    QVERIFY(UserDefaults::withSuiteName(m_suite)->set("a", 1));
    int notices = 0;
    connect(store.get(), &UserDefaults::changed, this, [&] { ++notices; });
    QTRY_COMPARE_WITH_TIMEOUT(notices, 1, longestDelay);
    QTest::qWait(quietTime);
    QCOMPARE(notices, 1);
}

void UserDefaultsNoticeTest::objectMayEndWithANoticeOnItsWay()
{
    int notices = 0;
    {
        Observed observed(m_suite);
        QObject::connect(observed.store.get(), &UserDefaults::changed, [&] { ++notices; });
        QVERIFY(observed.store->set("a", 1));
        write(path(), textOf(2));
    }
    QTest::qWait(quietTime);
    QCOMPARE(notices, 0);
}

void UserDefaultsNoticeTest::ownWriteNamesItsKey()
{
    Observed observed(m_suite);
    QVERIFY(observed.store->apply({ { QStringLiteral("a"), 1 }, { QStringLiteral("b"), 1 } }, {}));
    QTRY_COMPARE_WITH_TIMEOUT(observed.keys, QByteArrayList { "a,b" }, longestDelay);
    observed.keys.clear();
    QVERIFY(observed.store->set("b", 2));
    QTRY_COMPARE_WITH_TIMEOUT(observed.keys, QByteArrayList { "b" }, longestDelay);
}

void UserDefaultsNoticeTest::removedKeyIsNamed()
{
    Observed observed(m_suite);
    observed.store->registerDefaults({ { QStringLiteral("a"), 1 } });
    QVERIFY(observed.store->apply(
        { { QStringLiteral("a"), 2 }, { QStringLiteral("b"), 2 }, { QStringLiteral("c"), 2 } }, {}));
    QTRY_COMPARE_WITH_TIMEOUT(observed.notices, 1, longestDelay);
    observed.keys.clear();
    // "a" falls back to its default, and "b" has no default.
    QVERIFY(observed.store->apply({}, { QStringLiteral("a"), QStringLiteral("b") }));
    QTRY_COMPARE_WITH_TIMEOUT(observed.keys, QByteArrayList { "a,b" }, longestDelay);
}

void UserDefaultsNoticeTest::allKeysOfATurnAreNamedOnceAndInOrder()
{
    Observed observed(m_suite);
    for (const char* key : { "b", "c", "a", "b" })
        QVERIFY(observed.store->set(key, observed.store->number(key).value_or(0) + 1));
    QTRY_COMPARE_WITH_TIMEOUT(observed.keys, QByteArrayList { "a,b,c" }, longestDelay);
}

// An observer may have read the value in between.
void UserDefaultsNoticeTest::keyThatHasItsOldValueAgainIsNamed()
{
    Observed observed(m_suite);
    QVERIFY(observed.store->set("a", 1));
    QVERIFY(observed.store->remove("a"));
    QTRY_COMPARE_WITH_TIMEOUT(observed.keys, QByteArrayList { "a" }, longestDelay);
}

void UserDefaultsNoticeTest::saveOfSomebodyElseNamesAllItsKeys()
{
    Observed observed(m_suite);
    QVERIFY(observed.store->apply(
        { { QStringLiteral("a"), 1 }, { QStringLiteral("b"), 1 }, { QStringLiteral("c"), 1 } }, {}));
    QTRY_COMPARE_WITH_TIMEOUT(observed.notices, 1, longestDelay);
    observed.keys.clear();
    // "a" is removed, "b" stays equal, "c" changes and "d" is new.
    replace(path(), R"({ "b": 1, "c": 2, "d": 1 })");
    QTRY_COMPARE_WITH_TIMEOUT(observed.keys, QByteArrayList { "a,c,d" }, longestDelay);
}

void UserDefaultsNoticeTest::keyWhoseValueInEffectStaysIsNotNamed()
{
    const QString administered = TestHome::root() + QStringLiteral("/xdg/kestrum");
    QVERIFY(QDir().mkpath(administered));
    write(administered + u'/' + m_suite + QStringLiteral(".json"), R"({ "b": 2 })");
    Observed observed(m_suite);
    observed.store->registerDefaults({ { QStringLiteral("a"), 1 }, { QStringLiteral("b"), 1 } });
    const auto store = [&](int a, int b) {
        observed.keys.clear();
        QVERIFY(observed.store->apply({ { QStringLiteral("a"), a }, { QStringLiteral("b"), b } }, {}));
    };
    // The stored values change, but no value in effect does: the notice names no key.
    store(1, 2);
    QTRY_COMPARE_WITH_TIMEOUT(observed.keys, QByteArrayList { "" }, longestDelay);
    store(1, 1);
    QTRY_COMPARE_WITH_TIMEOUT(observed.keys, QByteArrayList { "b" }, longestDelay);
    observed.keys.clear();
    QVERIFY(observed.store->apply({}, { QStringLiteral("a"), QStringLiteral("b") }));
    QTRY_COMPARE_WITH_TIMEOUT(observed.keys, QByteArrayList { "b" }, longestDelay);
}

void UserDefaultsNoticeTest::registeringDefaultsTellsNobody()
{
    Observed observed(m_suite);
    observed.store->registerDefaults({ { QStringLiteral("a"), 1 } });
    QTest::qWait(quietTime);
    QCOMPARE(observed.notices, 0);
    QVERIFY(observed.store->set("b", 1));
    QTRY_COMPARE_WITH_TIMEOUT(observed.keys, QByteArrayList { "b" }, longestDelay);
}

void UserDefaultsNoticeTest::keysThatFallBackInADamagedFileAreNamed()
{
    Observed observed(m_suite);
    observed.store->registerDefaults({ { QStringLiteral("b"), 2 }, { QStringLiteral("c"), 3 } });
    QVERIFY(observed.store->apply(
        { { QStringLiteral("a"), 1 }, { QStringLiteral("b"), 1 }, { QStringLiteral("c"), 3 } }, {}));
    QTRY_COMPARE_WITH_TIMEOUT(observed.notices, 1, longestDelay);
    observed.keys.clear();
    // The complete members of a cut-off file are used. The default of `c` equals its old value, so `c` is not named.
    write(path(), R"({ "a": 1, "b": )");
    QTRY_COMPARE_WITH_TIMEOUT(observed.keys, QByteArrayList { "b" }, longestDelay);
    QCOMPARE(observed.store->number("b"), 2.0);
    observed.keys.clear();
    write(path(), "nothing of it");
    QTRY_COMPARE_WITH_TIMEOUT(observed.keys, QByteArrayList { "a" }, longestDelay);
}

void UserDefaultsNoticeTest::observerHearsOfItsOwnKeysOnlyAndUntilItEnds()
{
    Observed observed(m_suite);
    int heard = 0;
    auto owner = std::make_unique<QObject>();
    observed.store->observe({ QStringLiteral("a"), QStringLiteral("b") }, owner.get(), [&] { ++heard; });
    const auto tell = [&](const std::vector<const char*>& keys) {
        const int before = observed.notices;
        for (const char* key : keys)
            QVERIFY(observed.store->set(key, before + 1));
        QTRY_COMPARE_WITH_TIMEOUT(observed.notices, before + 1, longestDelay);
    };
    tell({ "c", "d" });
    QCOMPARE(heard, 0);
    tell({ "b", "c" });
    QCOMPARE(heard, 1);
    tell({ "a", "b" });
    QCOMPARE(heard, 2);
    owner.reset();
    tell({ "a" });
    QCOMPARE(heard, 2);
}

// The file is changed through a hard link in a folder without a watch.
void UserDefaultsNoticeTest::synchronizingFindsAChangeThatNobodyTold()
{
    Observed observed(m_suite);
    QVERIFY(observed.store->set("a", 1));
    QTRY_COMPARE_WITH_TIMEOUT(observed.notices, 1, longestDelay);
    const QString elsewhere = TestHome::root() + QStringLiteral("/elsewhere.json");
    QCOMPARE(::link(QFile::encodeName(path()).constData(), QFile::encodeName(elsewhere).constData()), 0);
    write(elsewhere, textOf(2));
    QTest::qWait(quietTime);
    QCOMPARE(observed.notices, 1);
    observed.store->synchronize();
    QTRY_COMPARE_WITH_TIMEOUT(observed.notices, 2, longestDelay);
    QCOMPARE(observed.keys.last(), "a");
    QCOMPARE(observed.store->number("a"), 2.0);
}

KESTRUM_TEST_MAIN_OF(UserDefaultsNoticeTest)(int argc, char** argv)
{
    const TestHome home;
    UserDefaultsNoticeTest::prepareEarlyStore();
    const QCoreApplication application(argc, argv);
    UserDefaultsNoticeTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "UserDefaultsNoticeTest.moc"
