#include "tests/Support/SettingsFolder.h"

#include <QCoreApplication>
#include <QThread>
#include <fcntl.h>
#include <functional>
#include <memory>
#include <sys/file.h>
#include <unistd.h>

using namespace kestrum;

/// A settings file that is a symbolic link, for example into a folder of dotfiles.
class SettingsFileLinkTest : public QObject, SettingsFolder {
    Q_OBJECT

private Q_SLOTS:
    void init() { makeFolder(); }

    void linkIsKeptAndItsTargetReplaced()
    {
        QVERIFY(QDir().mkpath(path("dotfiles/kestrum")));
        write(path("dotfiles/kestrum/real.json"), "{\"b\": 2}");
        QVERIFY(QFile::link(QStringLiteral("dotfiles/link.json"), path()));
        QVERIFY(QFile::link(path("dotfiles/kestrum/real.json"), path("dotfiles/link.json")));
        const SettingsFile file(path());
        QCOMPARE(file.targetPath(), path("dotfiles/kestrum/real.json"));
        QVERIFY(file.save(someChange));
        QVERIFY(QFileInfo(path()).isSymLink());
        QVERIFY(QFileInfo(path("dotfiles/link.json")).isSymLink());
        QVERIFY(!QFileInfo(path("dotfiles/kestrum/real.json")).isSymLink());
        QCOMPARE(SettingsFile(path("dotfiles/kestrum/real.json")).read()->values.size(), 2);
        QVERIFY(
            QFile::exists(path("dotfiles/kestrum/real.json.lock"))); // where all writers look for the lock
        QVERIFY(!QFile::exists(path("suite.json.lock")));
    }

    void danglingLinkGetsItsTarget()
    {
        QVERIFY(QDir().mkpath(path("elsewhere")));
        QVERIFY(QFile::link(QStringLiteral("elsewhere/new.json"), path()));
        const SettingsFile file(path());
        QCOMPARE(file.read().failureText(), QString());
        QCOMPARE(file.read()->identity.size, off_t(-1));
        QVERIFY(file.save(someChange));
        QVERIFY(QFileInfo(path()).isSymLink());
        QCOMPARE(SettingsFile(path("elsewhere/new.json")).read()->values, someChange.values);

        // A missing folder of the target may just not be mounted. A save does not create it, and reports the reason.
        QVERIFY(QFile::remove(path()));
        QVERIFY(QFile::link(path("missing/new.json"), path()));
        const auto saved = file.save(someChange);
        QVERIFY(!saved);
        QVERIFY2(saved.failureText().contains(QStringLiteral("No such file")),
            qUtf8Printable(saved.failureText()));
        QVERIFY(!QFile::exists(path("missing")));
    }

    void linkInACircleIsRefused()
    {
        QVERIFY(QFile::link(path("other.json"), path()));
        QVERIFY(QFile::link(path(), path("other.json")));
        QVERIFY(!SettingsFile(path()).read().failureText().isEmpty());
        const auto saved = SettingsFile(path()).save(someChange);
        QVERIFY(!saved);
        QVERIFY(QFileInfo(path()).isSymLink());
    }

    void linkChainNamesEveryLink()
    {
        QVERIFY(QFile::link(QStringLiteral("one.json"), path()));
        QVERIFY(QFile::link(path("two/real.json"), path("one.json")));
        QCOMPARE(SettingsFile(path()).linkChain(),
            (QStringList { path(), path("one.json"), path("two/real.json") }));
    }

    void linksToOneFileHaveOneLock()
    {
        write(path("one.json"), "{}");
        QVERIFY(QFile::link(path("one.json"), path()));
        QByteArray before;
        const auto saved = savedBeside([&] { before = contentOf(path("one.json")); });
        QCOMPARE(before, QByteArray("{}"));
        QVERIFY2(saved, qUtf8Printable(saved.failureText()));
        QCOMPARE(SettingsFile(path("one.json")).read()->values, someChange.values);
    }

    void linkThatIsRetargetedMeanwhileIsFollowed()
    {
        write(path("one.json"), "{}");
        write(path("two.json"), "{}");
        QVERIFY(QFile::link(path("one.json"), path()));
        const auto saved = savedBeside([&] {
            QVERIFY(QFile::link(path("two.json"), path("new")));
            QCOMPARE(
                ::rename(QFile::encodeName(path("new")).constData(), QFile::encodeName(path()).constData()),
                0);
        });
        QVERIFY2(saved, qUtf8Printable(saved.failureText()));
        QCOMPARE(contentOf(path("one.json")), QByteArray("{}"));
        QCOMPARE(SettingsFile(path("two.json")).read()->values, someChange.values);
        QVERIFY(QFile::exists(path("two.json.lock")));
    }

private:
    /// Starts a save through the link while the lock of "one.json" is held, calls `meanwhile`, and then releases the lock.
    SettingsFile::Saved savedBeside(const std::function<void()>& meanwhile)
    {
        const int holder = ::open(
            QFile::encodeName(path("one.json.lock")).constData(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
        ::flock(holder, LOCK_EX);
        SettingsFile::Saved saved = Failure();
        const std::unique_ptr<QThread> writer(
            QThread::create([&] { saved = SettingsFile(path()).save(someChange); }));
        writer->start();
        QTest::qSleep(100);
        meanwhile();
        ::close(holder);
        if (!writer->wait(5000))
            qFatal("the save goes on");
        return saved;
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, SettingsFileLinkTest)
#include "SettingsFileLinkTest.moc"
