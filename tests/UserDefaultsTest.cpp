#include "Platform/UserDefaults.h"
#include "Platform/FileName.h"
#include "tests/OrdinaryUser.h"
#include "tests/TestHome.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QTest>
#include <QThread>
#include <atomic>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace kestrum;

class UserDefaultsTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void suiteIsRefusedWhenNoFileCanBeMadeOfIt();
    void standardDomainHasOneNameAndOneObject();
    void fileStandsInTheConfigurationDirectory();
    void typedReadsTellOtherTypesAsNothing();
    void storedHidesAdministeredHidesRegistered();
    void earlierAdministeredDirectoriesCountMore();
    void administeredFilesMayBelongToAnybodyAndBeDamaged();
    void registeredDefaultsAreNeverSaved();
    void valueEqualToTheRegisteredDefaultIsStored();
    void equalValueIsNotWrittenAgain();
    void removedKeyFallsBackToItsDefault();
    void severalChangesMakeOneSave();
    void undefinedRemovesAndNullStays();
    void keysAndTextsMayBeAnyUnicode();
    void anotherObjectSeesASaveAtItsNextRead();
    void equalSizedSavesInARowAreAllSeen();
    void handEditIsNotWrittenOverByAnEqualWrite();
    void failedSaveChangesNothingAndIsTold();
    void equalWriteAfterAFailureIsNoSave();
    void fileThatCannotBeReadLeavesTheDefaults();
    void damagedFileIsSalvagedAndKept();
    void leftoversAreSwept();
    void threadsReadWhileOthersWrite();

private:
    std::unique_ptr<UserDefaults> opened() const { return UserDefaults::withSuiteName(m_suite); }
    QString path() const { return TestHome::configDirectory() + u'/' + m_suite + QStringLiteral(".json"); }
    static void write(const QString& path, const QByteArray& content);
    static QByteArray contentOf(const QString& path);

    QString m_suite;
    int m_number = 0;
};

void UserDefaultsTest::init()
{
    m_suite = QStringLiteral("suite.%1").arg(++m_number);
    qputenv("XDG_CONFIG_DIRS", QFile::encodeName(TestHome::root() + QStringLiteral("/xdg")));
}

void UserDefaultsTest::write(const QString& path, const QByteArray& content)
{
    QVERIFY(QDir().mkpath(QFileInfo(path).path()));
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(file.write(content), content.size());
}

QByteArray UserDefaultsTest::contentOf(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("cannot be read");
}

void UserDefaultsTest::suiteIsRefusedWhenNoFileCanBeMadeOfIt()
{
    QVERIFY(!UserDefaults::withSuiteName(QString()));
    QVERIFY(!UserDefaults::withSuiteName(QString(300, u'x')));
    QVERIFY(!UserDefaults::withSuiteName(UserDefaults::standard().name()));
    QVERIFY(UserDefaults::withSuiteName(QStringLiteral("x")));
}

void UserDefaultsTest::standardDomainHasOneNameAndOneObject()
{
    QCOMPARE(UserDefaults::standard().name(), QStringLiteral("com.orvale.kestrum")); // we are in no bundle
    QCOMPARE(&UserDefaults::standard(), &UserDefaults::standard());
    QVERIFY(UserDefaults::standard().set("language", QStringLiteral("de")));
    QVERIFY(QFile::exists(TestHome::configDirectory() + QStringLiteral("/com.orvale.kestrum.json")));
}

void UserDefaultsTest::fileStandsInTheConfigurationDirectory()
{
    QCOMPARE(opened()->filePath(), path());
    QCOMPARE(UserDefaults::withSuiteName(QStringLiteral("../a b/"))->filePath(),
        TestHome::configDirectory() + QStringLiteral("/%2E.%2Fa%20b%2F.json"));

    const QByteArray directory = qgetenv("XDG_CONFIG_HOME");
    const QString fallBack
        = TestHome::root() + QStringLiteral("/.config/kestrum/") + m_suite + QStringLiteral(".json");
    qputenv("XDG_CONFIG_HOME", "relative/is/ignored");
    QCOMPARE(opened()->filePath(), fallBack);
    qunsetenv("XDG_CONFIG_HOME");
    QCOMPARE(opened()->filePath(), fallBack);
    qputenv("XDG_CONFIG_HOME", QFile::encodeName(TestHome::root() + QStringLiteral("/other")));
    QCOMPARE(opened()->filePath(),
        TestHome::root() + QStringLiteral("/other/kestrum/") + m_suite + QStringLiteral(".json"));
    qputenv("XDG_CONFIG_HOME", directory);
}

void UserDefaultsTest::typedReadsTellOtherTypesAsNothing()
{
    write(path(),
        R"({"text": "1", "truth": true, "number": 1, "half": 0.5, "null": null, "list": [1], "empty": ""})");
    const auto store = opened();
    QCOMPARE(store->string("text"), QStringLiteral("1"));
    QCOMPARE(store->string("empty"), QString());
    QVERIFY(store->string("empty").has_value());
    QCOMPARE(store->boolean("truth"), true);
    QCOMPARE(store->number("number"), 1.0);
    QCOMPARE(store->number("half"), 0.5);
    for (const char* key : { "truth", "number", "null", "list", "absent", "" })
        QVERIFY2(!store->string(key), key);
    for (const char* key : { "text", "number", "null", "list", "absent", "" })
        QVERIFY2(!store->boolean(key), key);
    for (const char* key : { "text", "truth", "null", "list", "absent", "" })
        QVERIFY2(!store->number(key), key);
    // The untyped read tells a wrong type from absence.
    QCOMPARE(store->object("absent"), QJsonValue(QJsonValue::Undefined));
    QCOMPARE(store->object("null"), QJsonValue(QJsonValue::Null));
    QCOMPARE(store->object("list"), QJsonValue(QJsonArray { 1 }));
    QCOMPARE(store->object("truth"), QJsonValue(true));
}

void UserDefaultsTest::storedHidesAdministeredHidesRegistered()
{
    write(TestHome::root() + QStringLiteral("/xdg/kestrum/") + m_suite + QStringLiteral(".json"),
        R"({"a": 2, "b": 2})");
    write(path(), R"({"a": 3})");
    const auto store = opened();
    store->registerDefaults(
        { { QStringLiteral("a"), 1 }, { QStringLiteral("b"), 1 }, { QStringLiteral("c"), 1 } });
    QCOMPARE(store->number("a"), 3.0);
    QCOMPARE(store->number("b"), 2.0);
    QCOMPARE(store->number("c"), 1.0);
    QCOMPARE(store->dictionary(),
        (QJsonObject { { QStringLiteral("a"), 3 }, { QStringLiteral("b"), 2 }, { QStringLiteral("c"), 1 } }));
    QCOMPARE(store->storedDictionary(), (QJsonObject { { QStringLiteral("a"), 3 } }));
    // A stored value of the wrong type hides what is below it: it reads as nothing.
    QVERIFY(store->set("b", QStringLiteral("text")));
    QVERIFY(!store->number("b"));
    // Registering again adds and replaces.
    store->registerDefaults({ { QStringLiteral("c"), 5 }, { QStringLiteral("d"), 5 } });
    QCOMPARE(store->number("c"), 5.0);
    QCOMPARE(store->number("d"), 5.0);
    QCOMPARE(store->number("a"), 3.0);
}

void UserDefaultsTest::earlierAdministeredDirectoriesCountMore()
{
    const QString root = TestHome::root();
    const QString name = QStringLiteral("/kestrum/") + m_suite + QStringLiteral(".json");
    write(root + QStringLiteral("/first") + name, R"({"a": "first"})");
    write(root + QStringLiteral("/second") + name, R"({"a": "second", "b": "second"})");
    write(root + QStringLiteral("/relative") + name, R"({"a": "relative", "c": "relative"})");
    const QString before = QDir::currentPath();
    QVERIFY(QDir::setCurrent(root));
    qputenv("XDG_CONFIG_DIRS",
        QFile::encodeName(QStringLiteral("relative:%1/first::%1/missing:%1/second").arg(root)));
    const auto store = opened();
    QCOMPARE(store->string("a"), QStringLiteral("first"));
    QCOMPARE(store->string("b"), QStringLiteral("second"));
    QVERIFY(!store->string("c"));
    QVERIFY(QDir::setCurrent(before));
    QVERIFY(store->storedDictionary().isEmpty());
    // They are read when the domain is opened.
    write(root + QStringLiteral("/first") + name, R"({"a": "later"})");
    QVERIFY(store->set("z", 1));
    QCOMPARE(store->string("a"), QStringLiteral("first"));
    QCOMPARE(opened()->string("a"), QStringLiteral("later"));
}

void UserDefaultsTest::administeredFilesMayBelongToAnybodyAndBeDamaged()
{
    const QString file
        = TestHome::root() + QStringLiteral("/xdg/kestrum/") + m_suite + QStringLiteral(".json");
    write(file, R"({"a": true, "n": NaN})");
    if (::geteuid() == 0)
        QCOMPARE(::chown(QFile::encodeName(file).constData(), 12345, 12345), 0);
    QCOMPARE(opened()->boolean("a"), true);
    QVERIFY(QFile::remove(file));
    QCOMPARE(::mkfifo(QFile::encodeName(file).constData(), 0600), 0);
    QVERIFY(!opened()->boolean("a")); // and does not wait for the pipe
    QCOMPARE(opened()->lastError(), QString());
}

void UserDefaultsTest::registeredDefaultsAreNeverSaved()
{
    const auto store = opened();
    store->registerDefaults({ { QStringLiteral("default"), 1 } });
    QVERIFY(!QFile::exists(path()));
    QVERIFY(store->set("own", 2));
    QCOMPARE(
        QJsonDocument::fromJson(contentOf(path())).object(), (QJsonObject { { QStringLiteral("own"), 2 } }));
}

void UserDefaultsTest::valueEqualToTheRegisteredDefaultIsStored()
{
    const auto store = opened();
    store->registerDefaults({ { QStringLiteral("a"), true } });
    QVERIFY(store->set("a", true));
    QCOMPARE(store->storedDictionary(), (QJsonObject { { QStringLiteral("a"), true } }));
    QCOMPARE(opened()->boolean("a"), true);
}

void UserDefaultsTest::equalValueIsNotWrittenAgain()
{
    const auto store = opened();
    QVERIFY(store->set("a", QStringLiteral("x")));
    struct stat before = {};
    QCOMPARE(::stat(QFile::encodeName(path()).constData(), &before), 0);
    for (int i = 0; i < 3; ++i) { // an even number of replacements could bring the inode back
        QVERIFY(store->set("a", QStringLiteral("x")));
        QVERIFY(store->remove("absent"));
        struct stat after = {};
        QCOMPARE(::stat(QFile::encodeName(path()).constData(), &after), 0);
        QCOMPARE(after.st_ino, before.st_ino);
        QCOMPARE(after.st_ctim.tv_nsec, before.st_ctim.tv_nsec);
        QCOMPARE(after.st_mtim.tv_nsec, before.st_mtim.tv_nsec);
    }
}

void UserDefaultsTest::removedKeyFallsBackToItsDefault()
{
    const auto store = opened();
    store->registerDefaults({ { QStringLiteral("a"), 1 } });
    QVERIFY(store->set("a", 2));
    QVERIFY(store->remove("a"));
    QCOMPARE(store->number("a"), 1.0);
    QVERIFY(store->storedDictionary().isEmpty());
}

void UserDefaultsTest::severalChangesMakeOneSave()
{
    const auto store = opened();
    QVERIFY(store->set("old", 1));
    QVERIFY(
        store->apply({ { QStringLiteral("a"), 1 }, { QStringLiteral("b"), 2 } }, { QStringLiteral("old") }));
    QCOMPARE(opened()->storedDictionary(),
        (QJsonObject { { QStringLiteral("a"), 1 }, { QStringLiteral("b"), 2 } }));
}

void UserDefaultsTest::undefinedRemovesAndNullStays()
{
    const auto store = opened();
    QVERIFY(store->apply({ { QStringLiteral("a"), 1 }, { QStringLiteral("b"), 2 } }, {}));
    QVERIFY(store->set("a", QJsonValue::Undefined));
    QVERIFY(store->set("b", QJsonValue::Null));
    QCOMPARE(opened()->storedDictionary(), (QJsonObject { { QStringLiteral("b"), QJsonValue::Null } }));
}

void UserDefaultsTest::keysAndTextsMayBeAnyUnicode()
{
    const auto store = opened();
    const QString text = QStringLiteral(u"\U0001F600 \u00e4\"\\\n\t");
    QVERIFY(store->set("schl\xC3\xBCssel", text));
    QCOMPARE(opened()->string("schl\xC3\xBCssel"), text);
}

void UserDefaultsTest::anotherObjectSeesASaveAtItsNextRead()
{
    const auto one = opened();
    const auto other = opened();
    QVERIFY(!other->boolean("a"));
    for (int i = 0; i < 50; ++i) {
        QVERIFY((i % 2 ? one : other)->set("a", i));
        QCOMPARE(one->number("a"), double(i));
        QCOMPARE(other->number("a"), double(i));
    }
}

void UserDefaultsTest::equalSizedSavesInARowAreAllSeen()
{
    const auto writer = opened();
    const auto reader = opened();
    for (int i = 100; i < 600; ++i) {
        QVERIFY(writer->set("a", i));
        QCOMPARE(reader->number("a"), double(i));
    }
}

void UserDefaultsTest::handEditIsNotWrittenOverByAnEqualWrite()
{
    const auto store = opened();
    QVERIFY(store->set("a", 1));
    write(path(), R"({"a": 7, "b": 2})");
    QVERIFY(store->set("a", 1)); // equal to what we know, not to what is there
    QCOMPARE(opened()->storedDictionary(),
        (QJsonObject { { QStringLiteral("a"), 1 }, { QStringLiteral("b"), 2 } }));
    QCOMPARE(store->number("b"), 2.0);
}

void UserDefaultsTest::failedSaveChangesNothingAndIsTold()
{
    const auto store = opened();
    QStringList failures;
    int successes = 0;
    connect(store.get(), &UserDefaults::saveFailed, this,
        [&](const QString& reason) { failures.append(reason); });
    connect(store.get(), &UserDefaults::saveSucceeded, this, [&] { ++successes; });
    QVERIFY(store->set("a", 1));
    {
        const OrdinaryUser user({ TestHome::configDirectory(), path(), path() + QStringLiteral(".lock"),
            TestHome::root() + QStringLiteral("/.config") });
        QCOMPARE(::chmod(QFile::encodeName(TestHome::configDirectory()).constData(), 0500), 0);
        QVERIFY(!store->set("a", 2));
        QVERIFY(!store->apply({}, { QStringLiteral("a") }));
        QVERIFY(failures.isEmpty()); // told from the event loop, not in the midst of the writer
        QCOMPARE(store->number("a"), 1.0);
        QVERIFY(store->lastError().contains(QStringLiteral("Permission denied")));
        QVERIFY(store->lastError().contains(path()));
        QCOMPARE(::chmod(QFile::encodeName(TestHome::configDirectory()).constData(), 0700), 0);
        QTRY_COMPARE(failures.size(), 2);
        QCOMPARE(failures.constFirst(), store->lastError());
        QCOMPARE(successes, 0);
        QVERIFY(store->set("a", 2));
        QCOMPARE(store->lastError(), QString());
        QTRY_COMPARE(successes, 1);
        QVERIFY(store->set("a", 3));
        QTest::qWait(20);
        QCOMPARE(successes, 1); // only after a failure
    }
    if (::geteuid() == 0) {
        for (const QString& file :
            { TestHome::configDirectory(), TestHome::root() + QStringLiteral("/.config") })
            QCOMPARE(::chown(QFile::encodeName(file).constData(), 0, 0), 0);
    }
}

void UserDefaultsTest::equalWriteAfterAFailureIsNoSave()
{
    const auto store = opened();
    QVERIFY(store->set("a", 1));
    QVERIFY(!store->set("a", qQNaN()));
    const QString error = store->lastError();
    QVERIFY(!error.isEmpty());
    QVERIFY(store->set("a", 1)); // a control that goes back to what is stored does not hide the message
    QCOMPARE(store->lastError(), error);
    QVERIFY(store->set("a", 2));
    QCOMPARE(store->lastError(), QString());
}

void UserDefaultsTest::fileThatCannotBeReadLeavesTheDefaults()
{
    QVERIFY(QDir().mkpath(path()));
    const auto store = opened();
    store->registerDefaults({ { QStringLiteral("a"), 1 } });
    QCOMPARE(store->number("a"), 1.0);
    QVERIFY(store->lastError().contains(path()));
    QVERIFY(!store->set("a", 2));
    QCOMPARE(store->number("a"), 1.0);
    QVERIFY(QDir().rmdir(path()));
    QVERIFY(store->set("a", 2));
    QCOMPARE(store->number("a"), 2.0);
    QCOMPARE(store->lastError(), QString());

    // A file that becomes unreadable later leaves what was known.
    QVERIFY(QFile::remove(path()));
    QVERIFY(QDir().mkpath(path()));
    QVERIFY(!store->set("b", 1));
    QCOMPARE(store->number("a"), 2.0);
}

void UserDefaultsTest::damagedFileIsSalvagedAndKept()
{
    const QByteArray damaged("{\"good\": true,\n\"bad\": ");
    write(path(), damaged);
    const auto store = opened();
    QCOMPARE(store->boolean("good"), true);
    QCOMPARE(contentOf(path()), damaged);
    QVERIFY(store->set("a", 1));
    QCOMPARE(contentOf(path() + QStringLiteral(".damaged-1")), damaged);
    QCOMPARE(opened()->storedDictionary().size(), 2);
}

void UserDefaultsTest::leftoversAreSwept()
{
    const QString leftover = TestHome::configDirectory() + QStringLiteral("/.kestrum-0123456789abcdef.tmp");
    write(leftover, "x");
    const struct timespec times[] {
        { 1000, 0 }, { 1000, 0 }
    };
    QCOMPARE(::utimensat(AT_FDCWD, QFile::encodeName(leftover).constData(), times, 0), 0);
    opened()->sweepLeftovers();
    QVERIFY(!QFile::exists(leftover));
}

void UserDefaultsTest::threadsReadWhileOthersWrite()
{
    const auto store = opened();
    QVERIFY(store->apply({ { QStringLiteral("a"), 0 }, { QStringLiteral("b"), 0 } }, {}));
    std::atomic<bool> isOver = false;
    std::atomic<int> mistakes = 0;
    std::vector<std::unique_ptr<QThread>> threads;
    threads.reserve(3);
    for (int i = 0; i < 2; ++i) {
        threads.emplace_back(QThread::create([&] {
            double last = 0;
            while (!isOver) {
                const double a = store->number("a").value_or(-1);
                const QJsonObject both = store->storedDictionary();
                if (a < last || both.value(u"a") != both.value(u"b"))
                    ++mistakes;
                last = a;
            }
        }));
    }
    threads.emplace_back(QThread::create([&] {
        for (int i = 1; i <= 100; ++i)
            mistakes += store->set("c", i) && store->number("c") == i ? 0 : 1;
    }));
    for (const auto& thread : threads)
        thread->start();
    for (int i = 1; i <= 100; ++i)
        QVERIFY(store->apply({ { QStringLiteral("a"), i }, { QStringLiteral("b"), i } }, {}));
    isOver = true;
    for (const auto& thread : threads)
        QVERIFY(thread->wait(20'000));
    QCOMPARE(mistakes, 0);
    QCOMPARE(store->number("c"), 100.0);
    QCOMPARE(opened()->storedDictionary(), store->storedDictionary());
}

KESTRUM_TEST_MAIN(QCoreApplication, UserDefaultsTest)
#include "UserDefaultsTest.moc"
