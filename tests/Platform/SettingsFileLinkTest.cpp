#include "tests/Support/SettingsFolder.h"

#include <QCoreApplication>
#include <functional>

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
        QCOMPARE(file.linkChain().constLast(), path("dotfiles/kestrum/real.json"));
        QVERIFY(saved(file.path(), someValues));
        QVERIFY(QFileInfo(path()).isSymLink());
        QVERIFY(QFileInfo(path("dotfiles/link.json")).isSymLink());
        QVERIFY(!QFileInfo(path("dotfiles/kestrum/real.json")).isSymLink());
        QCOMPARE(SettingsFile(path("dotfiles/kestrum/real.json")).read()->values.size(), 2);
        QVERIFY(
            QFile::exists(path("dotfiles/kestrum/real.json.lock"))); // where all writers expect the lock file
        QVERIFY(!QFile::exists(path("suite.json.lock")));
    }

    void danglingLinkGetsItsTarget()
    {
        QVERIFY(QDir().mkpath(path("elsewhere")));
        QVERIFY(QFile::link(QStringLiteral("elsewhere/new.json"), path()));
        const SettingsFile file(path());
        QCOMPARE(file.read().failureText(), QString());
        QCOMPARE(file.read()->identity.size, off_t(-1));
        QVERIFY(saved(file.path(), someValues));
        QVERIFY(QFileInfo(path()).isSymLink());
        QCOMPARE(SettingsFile(path("elsewhere/new.json")).read()->values, someValues);

        // The link's target is in a missing folder, maybe on an unmounted volume. A save fails and does not create the folder.
        QVERIFY(QFile::remove(path()));
        QVERIFY(QFile::link(path("missing/new.json"), path()));
        const auto result = saved(file.path(), someValues);
        QVERIFY(!result);
        QVERIFY2(result.failureText().contains(QStringLiteral("No such file")),
            qUtf8Printable(result.failureText()));
        QVERIFY(!QFile::exists(path("missing")));
    }

    void linkInACircleIsRefused()
    {
        QVERIFY(QFile::link(path("other.json"), path()));
        QVERIFY(QFile::link(path(), path("other.json")));
        QVERIFY(!SettingsFile(path()).read().failureText().isEmpty());
        const auto result = saved(path(), someValues);
        QVERIFY(!result);
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
        saveBeside([&] { QCOMPARE(contentOf(path("one.json")), QByteArray("{}")); });
        QCOMPARE(SettingsFile(path("one.json")).read()->values, someValues);
    }

    void linkThatIsRetargetedMeanwhileIsFollowed()
    {
        write(path("one.json"), "{}");
        write(path("two.json"), "{}");
        QVERIFY(QFile::link(path("one.json"), path()));
        saveBeside([&] {
            QVERIFY(QFile::link(path("two.json"), path("new")));
            QCOMPARE(
                ::rename(QFile::encodeName(path("new")).constData(), QFile::encodeName(path()).constData()),
                0);
        });
        QCOMPARE(contentOf(path("one.json")), QByteArray("{}"));
        QCOMPARE(SettingsFile(path("two.json")).read()->values, someValues);
        QVERIFY(QFile::exists(path("two.json.lock")));
    }

private:
    /// Saves through the link. The save has to wait for the lock of "one.json" until `meanwhile` has been called.
    void saveBeside(const std::function<void()>& meanwhile)
    {
        SettingsFile::Saved result = Failure();
        FileDescriptor lock = locked("one.json.lock");
        const auto writer = startSave(path(), result);
        QTRY_VERIFY(isAwaited(lock));
        meanwhile();
        lock.close();
        QVERIFY(writer->wait(5000));
        QVERIFY2(result, qUtf8Printable(result.failureText()));
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, SettingsFileLinkTest)
#include "SettingsFileLinkTest.moc"
