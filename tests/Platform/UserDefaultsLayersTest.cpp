#include "tests/Support/FileContent.h"
#include "tests/Support/JsonValues.h"
#include "tests/Support/OwnSuite.h"

#include <QCoreApplication>
#include <QJsonDocument>
#include <sys/stat.h>
#include <unistd.h>

using namespace kestrum;

/// The sources of a value: the user's file, the administrator's files, or the registered defaults.
class UserDefaultsLayersTest : public QObject, OwnSuite {
    Q_OBJECT

private Q_SLOTS:
    void init() { nextSuite(); }

    void storedHidesAdministeredHidesRegistered()
    {
        write(TestHome::root() + QStringLiteral("/xdg/kestrum/") + m_suite + QStringLiteral(".json"),
            R"({"a": 2, "b": 2})");
        write(path(), R"({"a": 3})");
        const auto store = opened();
        store->registerDefaults(json({ { "a", 1 }, { "b", 1 }, { "c", 1 } }));
        QCOMPARE(store->number("a"), 3.0);
        QCOMPARE(store->number("b"), 2.0);
        QCOMPARE(store->number("c"), 1.0);
        QCOMPARE(store->dictionary(), json({ { "a", 3 }, { "b", 2 }, { "c", 1 } }));
        QCOMPARE(store->storedDictionary(), json({ { "a", 3 } }));
        // A stored value of the wrong type hides the values of the lower layers, so the typed read returns nothing.
        QVERIFY(store->set("b", QStringLiteral("text")));
        QVERIFY(!store->number("b"));
        // A second registration adds defaults and replaces earlier ones.
        store->registerDefaults(json({ { "c", 5 }, { "d", 5 } }));
        QCOMPARE(store->number("c"), 5.0);
        QCOMPARE(store->number("d"), 5.0);
        QCOMPARE(store->number("a"), 3.0);
    }

    void earlierAdministeredDirectoriesCountMore()
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
        // The administrator's files are read only when the store is opened.
        write(root + QStringLiteral("/first") + name, R"({"a": "later"})");
        QVERIFY(store->set("z", 1));
        QCOMPARE(store->string("a"), QStringLiteral("first"));
        QCOMPARE(opened()->string("a"), QStringLiteral("later"));
    }

    void administeredFilesMayBelongToAnybodyAndBeDamaged()
    {
        const QString file
            = TestHome::root() + QStringLiteral("/xdg/kestrum/") + m_suite + QStringLiteral(".json");
        write(file, R"({"a": true, "n": NaN})");
        if (::geteuid() == 0)
            QCOMPARE(::chown(QFile::encodeName(file).constData(), 12345, 12345), 0);
        QCOMPARE(opened()->boolean("a"), true);
        QVERIFY(QFile::remove(file));
        QCOMPARE(::mkfifo(QFile::encodeName(file).constData(), 0600), 0);
        QVERIFY(!opened()->boolean("a")); // opening must not block on the pipe
        QCOMPARE(opened()->lastError(), QString());
    }

    void registeredDefaultsAreNeverSaved()
    {
        const auto store = opened();
        store->registerDefaults(json({ { "default", 1 } }));
        QVERIFY(!QFile::exists(path()));
        QVERIFY(store->set("own", 2));
        QCOMPARE(QJsonDocument::fromJson(contentOf(path())).object(), json({ { "own", 2 } }));
    }

    void valueEqualToTheRegisteredDefaultIsStored()
    {
        const auto store = opened();
        store->registerDefaults(json({ { "a", true } }));
        QVERIFY(store->set("a", true));
        QCOMPARE(store->storedDictionary(), json({ { "a", true } }));
        QCOMPARE(opened()->boolean("a"), true);
    }

    void removedKeyFallsBackToItsDefault()
    {
        const auto store = opened();
        store->registerDefaults(json({ { "a", 1 } }));
        QVERIFY(store->set("a", 2));
        QVERIFY(store->remove("a"));
        QCOMPARE(store->number("a"), 1.0);
        QVERIFY(store->storedDictionary().isEmpty());
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, UserDefaultsLayersTest)
#include "UserDefaultsLayersTest.moc"
