#include "tests/Support/FileContent.h"
#include "tests/Support/JsonValues.h"
#include "tests/Support/OwnSuite.h"
#include "tests/Support/SettingsInMemory.h"

#include <QCoreApplication>
#include <QJsonArray>
#include <QThread>
#include <atomic>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace kestrum;

class UserDefaultsTest : public QObject, OwnSuite {
    Q_OBJECT

private Q_SLOTS:
    void init() { nextSuite(); }

    void suiteIsRefusedWhenNoFileCanBeMadeOfIt()
    {
        QVERIFY(!UserDefaults::withSuiteName(QString()));
        QVERIFY(!UserDefaults::withSuiteName(QString(300, u'x')));
        QVERIFY(!UserDefaults::withSuiteName(UserDefaults::standard().name()));
        QVERIFY(UserDefaults::withSuiteName(QStringLiteral("x")));
    }

    void standardDomainHasOneNameAndOneObject()
    {
        QCOMPARE(
            UserDefaults::standard().name(), QStringLiteral("com.orvale.kestrum")); // the test has no bundle
        QCOMPARE(&UserDefaults::standard(), &UserDefaults::standard());
        QVERIFY(UserDefaults::standard().set("language", QStringLiteral("de")));
        QVERIFY(QFile::exists(TestHome::configDirectory() + QStringLiteral("/com.orvale.kestrum.json")));
    }

    void fileStandsInTheConfigurationDirectory()
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

    void typedReadsTellOtherTypesAsNothing()
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
        // The untyped read distinguishes a wrong type from an absent value.
        QCOMPARE(store->object("absent"), QJsonValue(QJsonValue::Undefined));
        QCOMPARE(store->object("null"), QJsonValue(QJsonValue::Null));
        QCOMPARE(store->object("list"), QJsonValue(QJsonArray { 1 }));
        QCOMPARE(store->object("truth"), QJsonValue(true));
    }

    void aSnapshotHoldsAllLayersAndNeverChanges()
    {
        const auto store = opened();
        store->registerDefaults(json({ { "a", 1 }, { "b", true } }));
        QVERIFY(store->set("a", QStringLiteral("x")));
        const SettingsSnapshot before = store->snapshot();
        QVERIFY(opened()->set("a", QStringLiteral("y")));
        QCOMPARE(store->snapshot().string("a"), QStringLiteral("y"));
        QCOMPARE(before.string("a"), QStringLiteral("x"));
        QCOMPARE(before.boolean("b"), true);
        QVERIFY(!before.number("a"));
        QVERIFY(before.object("c").isUndefined());
        QVERIFY(SettingsSnapshot().object("a").isUndefined());
    }

    void equalValueIsNotWrittenAgain()
    {
        const auto store = opened();
        QVERIFY(store->set("a", QStringLiteral("x")));
        struct stat before = {};
        QCOMPARE(::stat(QFile::encodeName(path()).constData(), &before), 0);
        for (int i = 0; i < 3; ++i) { // after an even number of replacements, the inode could be the same
            QVERIFY(store->set("a", QStringLiteral("x")));
            QVERIFY(store->remove("absent"));
            struct stat after = {};
            QCOMPARE(::stat(QFile::encodeName(path()).constData(), &after), 0);
            QCOMPARE(after.st_ino, before.st_ino);
            QCOMPARE(after.st_ctim.tv_nsec, before.st_ctim.tv_nsec);
            QCOMPARE(after.st_mtim.tv_nsec, before.st_mtim.tv_nsec);
        }
    }

    void severalChangesMakeOneSave()
    {
        const auto store = opened();
        QVERIFY(store->set("old", 1));
        QVERIFY(store->apply(
            { { QStringLiteral("a"), 1 }, { QStringLiteral("b"), 2 } }, { QStringLiteral("old") }));
        QCOMPARE(opened()->storedDictionary(), json({ { "a", 1 }, { "b", 2 } }));
    }

    void undefinedRemovesAndNullStays()
    {
        const auto store = opened();
        QVERIFY(store->apply(json({ { "a", 1 }, { "b", 2 } }), {}));
        QVERIFY(store->set("a", QJsonValue::Undefined));
        QVERIFY(store->set("b", QJsonValue::Null));
        QCOMPARE(opened()->storedDictionary(), json({ { "b", QJsonValue::Null } }));
    }

    void keysAndTextsMayBeAnyUnicode()
    {
        const auto store = opened();
        const QString text = QStringLiteral(u"\U0001F600 \u00e4\"\\\n\t");
        QVERIFY(store->set("schl\xC3\xBCssel", text));
        QCOMPARE(opened()->string("schl\xC3\xBCssel"), text);
    }

    void anotherObjectSeesEverySaveAtItsNextRead()
    {
        const auto one = opened();
        const auto other = opened();
        const auto reader = opened();
        QVERIFY(!reader->boolean("a"));
        for (int i = 100; i < 600; ++i) { // all have the same size
            QVERIFY((i % 3 ? one : other)->set("a", i));
            for (const auto& any : { one.get(), other.get(), reader.get() })
                QCOMPARE(any->number("a"), double(i));
        }
    }

    void counterThatIsCutOffHidesNoSave()
    {
        // A cleanup tool may truncate the file. Access to a mapped page beyond the file's end would kill the process.
        const auto writer = opened();
        const auto reader = opened();
        const QByteArray counter = QFile::encodeName(
            TestHome::runtimeDirectory() + QStringLiteral("/kestrum/%1.generation").arg(m_suite));
        for (int i = 1; i <= 20; ++i) {
            QVERIFY(writer->set("a", i));
            if (i % 2 == 0)
                QCOMPARE(reader->number("a"), double(i));
            QCOMPARE(::truncate(counter.constData(), 0), 0);
            QCOMPARE(reader->number("a"), double(i));
        }
    }

    void handEditIsNotWrittenOverByAnEqualWrite()
    {
        const auto store = opened();
        QVERIFY(store->set("a", 1));
        write(path(), R"({"a": 7, "b": 2})");
        QVERIFY(store->set("a", 1)); // equals the cached value, but not the value in the file
        QCOMPARE(opened()->storedDictionary(), json({ { "a", 1 }, { "b", 2 } }));
        QCOMPARE(store->number("b"), 2.0);
    }

    void leftoversAreSwept()
    {
        const QString leftover
            = TestHome::configDirectory() + QStringLiteral("/.kestrum-0123456789abcdef.tmp");
        write(leftover, "x");
        setTimes(leftover, 1000);
        opened()->sweepLeftovers();
        QVERIFY(!QFile::exists(leftover));
    }

    void threadsReadWhileOthersWrite()
    {
        const auto store = opened();
        QVERIFY(store->apply(json({ { "a", 0 }, { "b", 0 } }), {}));
        std::atomic<const char*> mistake = nullptr;
        std::atomic<bool> isOver = false;
        const auto expect = [&mistake](bool isTrue, const char* what) {
            if (!isTrue)
                mistake = what;
        };
        const auto read = [&] {
            for (double last = 0; !isOver; QThread::yieldCurrentThread()) {
                const double a = store->number("a").value_or(-1);
                const QJsonObject both = store->storedDictionary();
                expect(a >= last, "an older value came back");
                expect(both.value(u"a") == both.value(u"b"), "half of a save was read");
                last = a;
            }
        };
        const auto write = [&] {
            for (int i = 1; i <= 100; ++i) {
                expect(store->set("c", i), "a save failed");
                expect(store->number("c") == i, "a saved value was not read");
            }
        };
        const std::unique_ptr<QThread> threads[] { std::unique_ptr<QThread>(QThread::create(read)),
            std::unique_ptr<QThread>(QThread::create(read)),
            std::unique_ptr<QThread>(QThread::create(write)) };
        for (const auto& thread : threads)
            thread->start();
        for (int i = 1; i <= 100; ++i)
            expect(store->apply(json({ { "a", i }, { "b", i } }), {}), "a save failed");
        isOver = true;
        for (const auto& thread : threads)
            QVERIFY(thread->wait(20'000));
        QVERIFY2(!mistake, mistake);
        QCOMPARE(store->number("c"), 100.0);
        QCOMPARE(opened()->storedDictionary(), store->storedDictionary());
    }

private:
    const SettingsInMemory
        m_memory; // on a busy disk, one flush can take longer than a writer waits for the lock
};

KESTRUM_TEST_MAIN(QCoreApplication, UserDefaultsTest)
#include "UserDefaultsTest.moc"
