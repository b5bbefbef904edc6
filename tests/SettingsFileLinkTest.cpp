#include "tests/SettingsFolder.h"

#include <QCoreApplication>

using namespace kestrum;

/// A settings file that is a symbolic link, as dotfiles folders make them.
class SettingsFileLinkTest : public QObject, SettingsFolder {
    Q_OBJECT

private Q_SLOTS:
    void init() { makeFolder(); }
    void linkIsKeptAndItsTargetReplaced();
    void danglingLinkGetsItsTarget();
    void linkInACircleIsRefused();
    void trailNamesEveryLink();
};

void SettingsFileLinkTest::linkIsKeptAndItsTargetReplaced()
{
    QVERIFY(QDir().mkpath(path("dotfiles/kestrum")));
    write(path("dotfiles/kestrum/real.json"), "{\"b\": 2}");
    QVERIFY(QFile::link(QStringLiteral("dotfiles/link.json"), path()));
    QVERIFY(QFile::link(path("dotfiles/kestrum/real.json"), path("dotfiles/link.json")));
    const SettingsFile file(path());
    QCOMPARE(file.targetPath(), path("dotfiles/kestrum/real.json"));
    QVERIFY(file.save(someChange).succeeded);
    QVERIFY(QFileInfo(path()).isSymLink());
    QVERIFY(QFileInfo(path("dotfiles/link.json")).isSymLink());
    QVERIFY(!QFileInfo(path("dotfiles/kestrum/real.json")).isSymLink());
    QCOMPARE(SettingsFile(path("dotfiles/kestrum/real.json")).read().values.size(), 2);
    QVERIFY(QFile::exists(path("suite.json.lock"))); // beside the suite, where all writers find it
}

void SettingsFileLinkTest::danglingLinkGetsItsTarget()
{
    QVERIFY(QDir().mkpath(path("elsewhere")));
    QVERIFY(QFile::link(QStringLiteral("elsewhere/new.json"), path()));
    const SettingsFile file(path());
    QCOMPARE(file.read().error, QString());
    QCOMPARE(file.read().identity.size, off_t(-1));
    QVERIFY(file.save(someChange).succeeded);
    QVERIFY(QFileInfo(path()).isSymLink());
    QCOMPARE(SettingsFile(path("elsewhere/new.json")).read().values, someChange.values);

    // A folder that is not there (not mounted?) is not made, and the reason is told.
    QVERIFY(QFile::remove(path()));
    QVERIFY(QFile::link(path("missing/new.json"), path()));
    const auto saved = file.save(someChange);
    QVERIFY(!saved.succeeded);
    QVERIFY2(saved.error.contains(QStringLiteral("No such file")), qUtf8Printable(saved.error));
    QVERIFY(!QFile::exists(path("missing")));
}

void SettingsFileLinkTest::linkInACircleIsRefused()
{
    QVERIFY(QFile::link(path("other.json"), path()));
    QVERIFY(QFile::link(path(), path("other.json")));
    QVERIFY(!SettingsFile(path()).read().error.isEmpty());
    const auto saved = SettingsFile(path()).save(someChange);
    QVERIFY(!saved.succeeded);
    QVERIFY(QFileInfo(path()).isSymLink());
}

void SettingsFileLinkTest::trailNamesEveryLink()
{
    QVERIFY(QFile::link(QStringLiteral("one.json"), path()));
    QVERIFY(QFile::link(path("two/real.json"), path("one.json")));
    QCOMPARE(SettingsFile(path()).trail(), (QStringList { path(), path("one.json"), path("two/real.json") }));
}

KESTRUM_TEST_MAIN(QCoreApplication, SettingsFileLinkTest)
#include "SettingsFileLinkTest.moc"
