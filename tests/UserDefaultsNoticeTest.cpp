// The event loop of these tests turns only while they wait, so whatever is written between two waits belongs to
// one turn.

#include "Platform/UserDefaults.h"
#include "tests/TestHome.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QStandardPaths>
#include <QTest>
#include <QThread>
#include <fcntl.h>
#include <functional>
#include <sys/stat.h>
#include <unistd.h>

using namespace kestrum;

class UserDefaultsNoticeTest : public QObject {
    Q_OBJECT

public:
    /// Made before the application object, with a change and an observer before it as well.
    static void prepareEarlyStore();

private Q_SLOTS:
    void init();
    void cleanup();
    void storeMadeBeforeTheApplicationTellsLater();
    void manyWritesOfATurnAreToldOnce();
    void ownSaveIsNotToldAgainByTheWatch();
    void noticeIsNotSentWithinTheWrite();
    void equalWriteTellsNobody();
    void equalContentWrittenBySomebodyElseTellsNobody();
    void failedSaveTellsNoChange();
    void foreignSaveIsToldOnce();
    void foreignSaveThatWasReadBeforeItsNoticeIsToldOnce();
    void saveOfAnotherThreadIsToldOnTheMainThread();
    void storeMadeOnAnotherThreadBelongsToTheMainThread();
    void changeBeforeTheFirstObserverIsNotTold();
    void changeThatWasNotReadYetIsToldToTheFirstObserver();
    void objectMayEndWithANoticeOnItsWay();
    void editsByHandAreSeen_data();
    void editsByHandAreSeen();
    void linkedFileIsFollowed();
    void equalSizedEditsInPlaceInARowAreSeen();
    void damagedEditKeepsTheGoodKeys();
    void checkoutOfAnotherVersionIsSeen();

private:
    struct Observed {
        explicit Observed(const QString& suite)
            : store(UserDefaults::withSuiteName(suite))
        {
            QObject::connect(store.get(), &UserDefaults::changed, [this] { ++notices; });
        }
        int notices = 0;
        std::unique_ptr<UserDefaults> store;
    };

    QString path() const { return TestHome::configDirectory() + u'/' + m_suite + QStringLiteral(".json"); }
    static void write(const QString& path, const QByteArray& content);
    static void replace(const QString& path, const QByteArray& content);
    static QByteArray textOf(int value) { return "{\n    \"a\": " + QByteArray::number(value) + "\n}\n"; }

    QString m_suite;
    int m_number = 0;
    static std::unique_ptr<UserDefaults> s_early;
    static int s_earlyNotices;
};

namespace {

// Long enough for a watch to report what it has, as nothing marks the end of reports that should not come.
constexpr int quietTime = 60;
constexpr int longestDelay = 1000;

} // namespace

std::unique_ptr<UserDefaults> UserDefaultsNoticeTest::s_early;
int UserDefaultsNoticeTest::s_earlyNotices = 0;

void UserDefaultsNoticeTest::prepareEarlyStore()
{
    s_early = UserDefaults::withSuiteName(QStringLiteral("early"));
    s_early->set("before", 1);
    QObject::connect(s_early.get(), &UserDefaults::changed, [] { ++s_earlyNotices; });
    s_early->set("a", 1);
}

void UserDefaultsNoticeTest::init()
{
    m_suite = QStringLiteral("suite.%1").arg(++m_number);
}

void UserDefaultsNoticeTest::cleanup()
{
    s_early.reset();
}

void UserDefaultsNoticeTest::write(const QString& path, const QByteArray& content)
{
    const int file
        = ::open(QFile::encodeName(path).constData(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600);
    QVERIFY(file >= 0);
    QCOMPARE(::write(file, content.constData(), size_t(content.size())), ssize_t(content.size()));
    ::close(file);
}

void UserDefaultsNoticeTest::replace(const QString& path, const QByteArray& content)
{
    write(path + u'~', content);
    QCOMPARE(::rename(QFile::encodeName(path + u'~').constData(), QFile::encodeName(path).constData()), 0);
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
        QTest::qWait(quietTime); // the watch has its say in these
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

void UserDefaultsNoticeTest::equalContentWrittenBySomebodyElseTellsNobody()
{
    Observed observed(m_suite);
    QVERIFY(observed.store->set("a", 1));
    QTRY_COMPARE_WITH_TIMEOUT(observed.notices, 1, longestDelay);
    write(path(), "{\"a\":1}"); // laid out otherwise
    QTest::qWait(quietTime);
    replace(path(), textOf(1));
    QTest::qWait(quietTime);
    QCOMPARE(observed.notices, 1);
    // And the watch still hears.
    replace(path(), textOf(2));
    QTRY_COMPARE_WITH_TIMEOUT(observed.notices, 2, longestDelay);
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
    QTest::qWait(quietTime); // the observation begins with a turn of the event loop
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

// Whoever has read the old value must not be left with it.
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

void UserDefaultsNoticeTest::editsByHandAreSeen_data()
{
    QTest::addColumn<std::function<void(const QString& path, const QByteArray& content)>>("edit");
    using Edit = std::function<void(const QString&, const QByteArray&)>;
    QTest::newRow("in place") << Edit(write);
    QTest::newRow("replaced, as editors do") << Edit(replace);
    QTest::newRow("old one moved away, new one written, as other editors do")
        << Edit([](const QString& path, const QByteArray& content) {
               QFile::remove(path + u'~');
               QVERIFY(QFile::rename(path, path + u'~'));
               write(path, content);
           });
    QTest::newRow("deleted and made again") << Edit([](const QString& path, const QByteArray& content) {
        QVERIFY(QFile::remove(path));
        write(path, content);
    });
    QTest::newRow("directory deleted and made again")
        << Edit([](const QString& path, const QByteArray& content) {
               QVERIFY(QDir(TestHome::configDirectory()).removeRecursively());
               QTest::qWait(quietTime / 3);
               QVERIFY(QDir().mkpath(TestHome::configDirectory()));
               write(path, content);
           });
    QTest::newRow("parent deleted and made again")
        << Edit([](const QString& path, const QByteArray& content) {
               QVERIFY(QFileInfo(TestHome::configDirectory()).dir().removeRecursively());
               QVERIFY(QDir().mkpath(TestHome::configDirectory()));
               write(path, content);
           });
    QTest::newRow("directory swapped") << Edit([](const QString& path, const QByteArray& content) {
        const QString aside = TestHome::configDirectory() + QStringLiteral(".new");
        QDir(aside + u'~').removeRecursively();
        QVERIFY(QDir().mkpath(aside));
        write(aside + u'/' + QFileInfo(path).fileName(), content);
        QVERIFY(QDir().rename(TestHome::configDirectory(), aside + u'~'));
        QVERIFY(QDir().rename(aside, TestHome::configDirectory()));
    });
    QTest::newRow("removed") << Edit(
        [](const QString& path, const QByteArray&) { QVERIFY(QFile::remove(path)); });
}

void UserDefaultsNoticeTest::editsByHandAreSeen()
{
    using Edit = std::function<void(const QString&, const QByteArray&)>;
    QFETCH(const Edit, edit);
    QVERIFY(QDir().mkpath(TestHome::configDirectory()));
    Observed observed(m_suite);
    for (int i = 1; i <= 10; ++i) {
        QVERIFY(observed.store->set("a", -i));
        QTRY_VERIFY_WITH_TIMEOUT(observed.notices > 0, longestDelay);
        QTest::qWait(5);
        observed.notices = 0;
        QElapsedTimer timer;
        timer.start();
        edit(path(), textOf(i));
        const bool isGone = !QFile::exists(path());
        QTRY_VERIFY_WITH_TIMEOUT(observed.notices > 0, longestDelay);
        QTRY_COMPARE_WITH_TIMEOUT(
            observed.store->number("a").value_or(0), double(isGone ? 0 : i), longestDelay);
        QVERIFY(timer.elapsed() < longestDelay);
    }
}

void UserDefaultsNoticeTest::linkedFileIsFollowed()
{
    const QString one = TestHome::root() + QStringLiteral("/dotfiles/one");
    const QString two = TestHome::root() + QStringLiteral("/dotfiles/two");
    QVERIFY(QDir().mkpath(one) && QDir().mkpath(two) && QDir().mkpath(TestHome::configDirectory()));
    write(one + QStringLiteral("/real.json"), textOf(1));
    write(two + QStringLiteral("/real.json"), textOf(2));
    QVERIFY(QFile::link(one + QStringLiteral("/real.json"), path()));
    Observed observed(m_suite);
    QCOMPARE(observed.store->number("a"), 1.0);

    int notices = 0;
    const auto expect = [&](int value) {
        ++notices; // not within the macro, which looks again and again
        QTRY_COMPARE_WITH_TIMEOUT(observed.notices, notices, longestDelay);
        QCOMPARE(observed.store->number("a"), double(value));
    };
    write(one + QStringLiteral("/real.json"), textOf(3));
    expect(3);
    replace(one + QStringLiteral("/real.json"), textOf(4));
    expect(4);
    // Retargeted, as a link is replaced without a gap.
    QVERIFY(QFile::link(two + QStringLiteral("/real.json"), path() + u'~'));
    QCOMPARE(
        ::rename(QFile::encodeName(path() + u'~').constData(), QFile::encodeName(path()).constData()), 0);
    expect(2);
    write(two + QStringLiteral("/real.json"), textOf(5));
    expect(5);
    // The target that is no longer ours is nothing to us.
    write(one + QStringLiteral("/real.json"), textOf(6));
    QTest::qWait(quietTime);
    QCOMPARE(observed.notices, notices);
    // Our own save goes to the target and is told once.
    QVERIFY(observed.store->set("a", 7));
    expect(7);
    QTest::qWait(quietTime);
    QCOMPARE(observed.notices, notices);
    QVERIFY(QFileInfo(path()).isSymLink());
}

void UserDefaultsNoticeTest::equalSizedEditsInPlaceInARowAreSeen()
{
    // Same inode, same size, and often the same tick of the kernel's clock.
    QVERIFY(QDir().mkpath(TestHome::configDirectory()));
    write(path(), textOf(100));
    Observed observed(m_suite);
    for (int i = 101; i < 400; ++i) {
        const int file = ::open(QFile::encodeName(path()).constData(), O_WRONLY | O_CLOEXEC);
        const QByteArray text = textOf(i);
        QCOMPARE(::write(file, text.constData(), size_t(text.size())), ssize_t(text.size()));
        ::close(file);
        QTRY_COMPARE_WITH_TIMEOUT(observed.store->number("a"), double(i), longestDelay);
    }
}

void UserDefaultsNoticeTest::damagedEditKeepsTheGoodKeys()
{
    Observed observed(m_suite);
    QVERIFY(observed.store->apply({ { QStringLiteral("a"), 1 }, { QStringLiteral("b"), 1 } }, {}));
    QTRY_COMPARE_WITH_TIMEOUT(observed.notices, 1, longestDelay);
    write(path(), "{\n\"a\": 2,\n\"b\": tru\n}");
    QTRY_COMPARE_WITH_TIMEOUT(observed.notices, 2, longestDelay);
    QCOMPARE(observed.store->number("a"), 2.0);
    QCOMPARE(observed.store->object("b"), QJsonValue(QJsonValue::Undefined));
}

void UserDefaultsNoticeTest::checkoutOfAnotherVersionIsSeen()
{
    if (QStandardPaths::findExecutable(QStringLiteral("git")).isEmpty())
        QSKIP("git is not installed");
    const QString directory = TestHome::configDirectory();
    QVERIFY(QDir().mkpath(directory));
    const auto git = [&](const QStringList& arguments) {
        QProcess process;
        process.setWorkingDirectory(directory);
        process.start(QStringLiteral("git"),
            QStringList { QStringLiteral("-c"), QStringLiteral("user.name=x"), QStringLiteral("-c"),
                QStringLiteral("user.email=x@example.org") }
                + arguments);
        return process.waitForFinished(10'000) && process.exitCode() == 0;
    };
    QVERIFY(git({ QStringLiteral("init"), QStringLiteral("-q") }));
    for (int version = 1; version <= 2; ++version) {
        write(path(), textOf(version));
        QVERIFY(git({ QStringLiteral("add"), path() }));
        QVERIFY(git({ QStringLiteral("commit"), QStringLiteral("-qm"), QStringLiteral("x") }));
        QVERIFY(git({ QStringLiteral("tag"), QStringLiteral("v%1").arg(version) }));
    }
    Observed observed(m_suite);
    for (int i = 0; i < 6; ++i) {
        const int version = 1 + i % 2;
        QVERIFY(
            git({ QStringLiteral("checkout"), QStringLiteral("-q"), QStringLiteral("v%1").arg(version) }));
        QTRY_COMPARE_WITH_TIMEOUT(observed.store->number("a"), double(version), longestDelay);
    }
}

int main(int argc, char** argv)
{
    const TestHome home;
    UserDefaultsNoticeTest::prepareEarlyStore();
    const QCoreApplication application(argc, argv);
    UserDefaultsNoticeTest test;
    return QTest::qExec(&test, argc, argv);
}

#include "UserDefaultsNoticeTest.moc"
