#include "tests/Support/FileContent.h"
#include "tests/Support/JsonValues.h"
#include "tests/Support/OrdinaryUser.h"
#include "tests/Support/OwnSuite.h"

#include <QCoreApplication>
#include <QSignalSpy>
#include <sys/stat.h>
#include <unistd.h>

using namespace kestrum;

class UserDefaultsFailureTest : public QObject, OwnSuite {
    Q_OBJECT

    /// What the user of a store owns.
    QStringList places() const
    {
        return { TestHome::configDirectory(), path(), path() + QStringLiteral(".lock"),
            TestHome::root() + QStringLiteral("/.config") };
    }
    /// Gives the places that later tests use back to root.
    static void takeBack()
    {
        if (::geteuid() != 0)
            return;
        for (const QString& file :
            { TestHome::configDirectory(), TestHome::root() + QStringLiteral("/.config") })
            QCOMPARE(::chown(QFile::encodeName(file).constData(), 0, 0), 0);
    }

private Q_SLOTS:
    void init() { nextSuite(); }

    void failedSaveChangesNothingAndIsTold()
    {
        const auto store = opened();
        QStringList failures;
        int successes = 0;
        connect(store.get(), &UserDefaults::saveFailed, this,
            [&](const QString& reason) { failures.append(reason); });
        connect(store.get(), &UserDefaults::saveSucceeded, this, [&] { ++successes; });
        QVERIFY(store->set("a", 1));
        {
            const OrdinaryUser user(places());
            QCOMPARE(::chmod(QFile::encodeName(TestHome::configDirectory()).constData(), 0500), 0);
            QVERIFY(!store->set("a", 2));
            QVERIFY(!store->apply({}, { QStringLiteral("a") }));
            QVERIFY(failures.isEmpty()); // reported from the event loop, not during the save
            QCOMPARE(store->number("a"), 1.0);
            QVERIFY(store->lastError().contains(QStringLiteral("Permission denied")));
            QVERIFY(store->lastError().contains(path()));
            QCOMPARE(store->lastTrouble(), SettingsFile::Trouble::notAllowed);
            QCOMPARE(::chmod(QFile::encodeName(TestHome::configDirectory()).constData(), 0700), 0);
            QTRY_COMPARE(failures.size(), 2);
            QCOMPARE(failures.constFirst(), store->lastError());
            QCOMPARE(successes, 0);
            QVERIFY(store->set("a", 2));
            QCOMPARE(store->lastError(), QString());
            QCOMPARE(store->lastTrouble(), SettingsFile::Trouble::none);
            QTRY_COMPARE(successes, 1);
            QVERIFY(store->set("a", 3));
            QCoreApplication::processEvents();
            QCOMPARE(successes, 1); // reported only after a failure
        }
        takeBack();
    }

    void equalWriteAfterAFailureIsNoSave()
    {
        const auto store = opened();
        QVERIFY(store->set("a", 1));
        QVERIFY(!store->set("a", qQNaN()));
        const QString error = store->lastError();
        QVERIFY(!error.isEmpty());
        QVERIFY(store->set("a", 1)); // setting the stored value again does not clear the message
        QCOMPARE(store->lastError(), error);
        QVERIFY(store->set("a", 2));
        QCOMPARE(store->lastError(), QString());
    }

    void fileThatCannotBeReadLeavesTheDefaults()
    {
        QVERIFY(QDir().mkpath(path()));
        const auto store = opened();
        store->registerDefaults(json({ { "a", 1 } }));
        QCOMPARE(store->number("a"), 1.0);
        QVERIFY(store->lastError().contains(path()));
        QCOMPARE(store->lastTrouble(), SettingsFile::Trouble::other);
        QVERIFY(!store->set("a", 2));
        QCOMPARE(store->number("a"), 1.0);
        QVERIFY(QDir().rmdir(path()));
        QVERIFY(store->set("a", 2));
        QCOMPARE(store->number("a"), 2.0);
        QCOMPARE(store->lastError(), QString());

        // If the file becomes unreadable later, the store still has its last values.
        QVERIFY(QFile::remove(path()));
        QVERIFY(QDir().mkpath(path()));
        QVERIFY(!store->set("b", 1));
        QCOMPARE(store->number("a"), 2.0);
    }

    void fileThatBecomesReadableIsReadAgain()
    {
        write(path(), "{\"a\": 1}");
        const auto observed = opened();
        const auto unobserved = opened();
        QSignalSpy notices(observed.get(), &UserDefaults::changed);
        QVERIFY(opened()->set("a", 2));
        {
            const OrdinaryUser user(places());
            QCOMPARE(::chmod(QFile::encodeName(path()).constData(), 0), 0);
            QTRY_VERIFY(observed->lastError().contains(QStringLiteral("Permission denied")));
            QCOMPARE(unobserved->number("a"), 1.0);
            // No event tells of this.
            QCOMPARE(::chmod(QFile::encodeName(path()).constData(), 0600), 0);
            QCOMPARE(unobserved->number("a"), 2.0);
            QTRY_COMPARE(notices.count(), 1);
            QCOMPARE(observed->number("a"), 2.0);
        }
        takeBack();
    }

    void damagedFileIsSalvagedAndKept()
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
};

KESTRUM_TEST_MAIN(QCoreApplication, UserDefaultsFailureTest)
#include "UserDefaultsFailureTest.moc"
