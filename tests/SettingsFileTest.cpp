#include "Platform/SettingsFile.h"
#include "Platform/SettingsText.h"
#include "tests/OrdinaryUser.h"
#include "tests/TestHome.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QSet>
#include <QTest>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

using namespace kestrum;

class SettingsFileTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init();
    void firstSaveMakesPrivateDirectoriesAndFile();
    void saveKeepsWhatItDoesNotChange();
    void saveOfEqualValuesTouchesNothing();
    void removedKeysAreGone();
    void everySaveHasAnIdentityOfItsOwn();
    void savedIdentityIsTheOneOnDisk();
    void modeIsKept();
    void groupIsKept();
    void linkIsKeptAndItsTargetReplaced();
    void danglingLinkGetsItsTarget();
    void linkInACircleIsRefused();
    void trailNamesEveryLink();
    void damagedFileIsCopiedBeforeItIsWrittenOver();
    void identicalDamagedCopyIsNotMadeAgain();
    void readingADamagedFileChangesNothing();
    void blankFileIsAnEmptyDomain();
    void whatIsNoFileIsRefusedWithoutWaiting_data();
    void whatIsNoFileIsRefusedWithoutWaiting();
    void fileOfAnotherUserIsRefused();
    void tooLargeFileIsRefused();
    void saveThatWouldBeTooLargeIsRefused();
    void valueThatNoTextCanHoldIsRefused();
    void readOnlyDirectoryIsToldAndChangesNothing();
    void heldLockIsToldAfterTwoSeconds();
    void lockOfARemovedDirectoryIsNotTaken();
    void leftoversAreSweptAfterAnHour();

private:
    QString path(const char* name = "suite.json") const
    {
        return m_directory + u'/' + QString::fromLatin1(name);
    }
    static QByteArray contentOf(const QString& path);
    static void write(const QString& path, const QByteArray& content);
    static struct stat stateOf(const QString& path);

    QString m_directory;
    int m_number = 0;
};

namespace {

const SettingsFile::Changes someChange { { { QStringLiteral("a"), 1 } }, {} };

}

void SettingsFileTest::init()
{
    m_directory = TestHome::root() + QStringLiteral("/file%1").arg(++m_number);
    QVERIFY(QDir().mkpath(m_directory));
}

QByteArray SettingsFileTest::contentOf(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("cannot be read");
}

void SettingsFileTest::write(const QString& path, const QByteArray& content)
{
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    QCOMPARE(file.write(content), content.size());
}

struct stat SettingsFileTest::stateOf(const QString& path)
{
    struct stat state = {};
    ::lstat(QFile::encodeName(path).constData(), &state);
    return state;
}

void SettingsFileTest::firstSaveMakesPrivateDirectoriesAndFile()
{
    const SettingsFile file(path("deep/er/suite.json"));
    QCOMPARE(file.read().identity.size, off_t(-1));
    QCOMPARE(file.read().error, QString());
    const mode_t mask = ::umask(0);
    const auto saved = file.save(someChange);
    ::umask(mask);
    QVERIFY2(saved.succeeded, qUtf8Printable(saved.error));
    QVERIFY(saved.changed);
    QCOMPARE(contentOf(file.path()), QByteArray("{\n    \"a\": 1\n}\n"));
    QCOMPARE(stateOf(path("deep")).st_mode, mode_t(S_IFDIR | 0700));
    QCOMPARE(stateOf(path("deep/er")).st_mode, mode_t(S_IFDIR | 0700));
    QCOMPARE(stateOf(file.path()).st_mode, mode_t(S_IFREG | 0600));
    QCOMPARE(stateOf(path("deep/er/suite.json.lock")).st_mode, mode_t(S_IFREG | 0600));
    QCOMPARE(QDir(path("deep/er")).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot),
        (QStringList { QStringLiteral("suite.json"), QStringLiteral("suite.json.lock") }));
}

void SettingsFileTest::saveKeepsWhatItDoesNotChange()
{
    write(path(), "{\"unknown\": [1, {\"x\": null}], \"real\": 0.5, \"whole\": 12345678901, \"a\": \"old\"}");
    QVERIFY(SettingsFile(path()).save(someChange).succeeded);
    QCOMPARE(contentOf(path()),
        QByteArray("{\n    \"a\": 1,\n    \"real\": 0.5,\n    \"unknown\": [\n        1,\n        {\n"
                   "            \"x\": null\n        }\n    ],\n    \"whole\": 12345678901\n}\n"));
}

void SettingsFileTest::saveOfEqualValuesTouchesNothing()
{
    write(path(), "{\"a\": 1}"); // not laid out as we do: must stay as it is
    const auto before = SettingsFile(path()).identity();
    const auto saved
        = SettingsFile(path()).save({ { { QStringLiteral("a"), 1 } }, { QStringLiteral("absent") } });
    QVERIFY(saved.succeeded);
    QVERIFY(!saved.changed);
    QVERIFY(SettingsFile(path()).identity() == before);
    QVERIFY(saved.content.identity == before);
}

void SettingsFileTest::removedKeysAreGone()
{
    write(path(), "{\"a\": 1, \"b\": 2}");
    const auto saved = SettingsFile(path()).save({ {}, { QStringLiteral("a") } });
    QVERIFY(saved.succeeded && saved.changed);
    QCOMPARE(saved.content.values, (QJsonObject { { QStringLiteral("b"), 2 } }));
    QCOMPARE(SettingsFile(path()).read().values, saved.content.values);
}

void SettingsFileTest::everySaveHasAnIdentityOfItsOwn()
{
    // Equal sizes, many within one tick of the kernel's clock, and inodes that come back.
    const SettingsFile file(path());
    QSet<QByteArray> identities;
    for (int i = 0; i < 500; ++i) {
        QVERIFY(file.save({ { { QStringLiteral("a"), 100 + i % 2 } }, {} }).succeeded);
        const auto identity = file.identity();
        // Without the time of change, which the clock's ticks make the same for several saves.
        identities.insert(
            QByteArray::number(qulonglong(identity.inode)) + ':' + QByteArray::number(identity.modifiedNs));
    }
    QCOMPARE(identities.size(), 500);
}

void SettingsFileTest::savedIdentityIsTheOneOnDisk()
{
    const SettingsFile file(path());
    for (int i = 0; i < 20; ++i) {
        const auto saved = file.save({ { { QStringLiteral("a"), i } }, {} });
        QVERIFY(saved.content.identity == file.identity());
    }
}

void SettingsFileTest::modeIsKept()
{
    for (const mode_t mode : { 0644, 0640, 0600, 0400 }) {
        write(path(), "{}");
        QCOMPARE(::chmod(QFile::encodeName(path()).constData(), mode), 0);
        QVERIFY(SettingsFile(path()).save(someChange).succeeded);
        QCOMPARE(stateOf(path()).st_mode & 07777, mode);
        QVERIFY(QFile::remove(path()));
    }
}

void SettingsFileTest::groupIsKept()
{
    if (::geteuid() != 0)
        QSKIP("only root can give a file to a group that it is not in");
    write(path(), "{}");
    QCOMPARE(::chown(QFile::encodeName(path()).constData(), uid_t(-1), 12345), 0);
    QCOMPARE(::chmod(QFile::encodeName(path()).constData(), 0640), 0);
    QVERIFY(SettingsFile(path()).save(someChange).succeeded);
    QCOMPARE(stateOf(path()).st_gid, gid_t(12345));
    QCOMPARE(stateOf(path()).st_mode & 07777, mode_t(0640));

    // Who may not give the group lets nobody of another group in.
    QVERIFY(QFile::remove(path("suite.json.lock")));
    const OrdinaryUser user({ m_directory, path() }, 12345);
    QVERIFY(SettingsFile(path()).save({ { { QStringLiteral("a"), 2 } }, {} }).succeeded);
    QVERIFY(stateOf(path()).st_gid != gid_t(12345));
    QCOMPARE(stateOf(path()).st_mode & 07777, mode_t(0600));
}

void SettingsFileTest::linkIsKeptAndItsTargetReplaced()
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

void SettingsFileTest::danglingLinkGetsItsTarget()
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

void SettingsFileTest::linkInACircleIsRefused()
{
    QVERIFY(QFile::link(path("other.json"), path()));
    QVERIFY(QFile::link(path(), path("other.json")));
    QVERIFY(!SettingsFile(path()).read().error.isEmpty());
    const auto saved = SettingsFile(path()).save(someChange);
    QVERIFY(!saved.succeeded);
    QVERIFY(QFileInfo(path()).isSymLink());
}

void SettingsFileTest::trailNamesEveryLink()
{
    QVERIFY(QFile::link(QStringLiteral("one.json"), path()));
    QVERIFY(QFile::link(path("two/real.json"), path("one.json")));
    QCOMPARE(SettingsFile(path()).trail(), (QStringList { path(), path("one.json"), path("two/real.json") }));
}

void SettingsFileTest::damagedFileIsCopiedBeforeItIsWrittenOver()
{
    const QByteArray damaged("{\"good\": true, \"bad\": NaN}");
    write(path(), damaged);
    write(path("suite.json.damaged-1"), "an older one");
    const auto saved = SettingsFile(path()).save(someChange);
    QVERIFY2(saved.succeeded, qUtf8Printable(saved.error));
    QCOMPARE(contentOf(path("suite.json.damaged-1")), QByteArray("an older one"));
    QCOMPARE(contentOf(path("suite.json.damaged-2")), damaged);
    QCOMPARE(stateOf(path("suite.json.damaged-2")).st_mode & 07777, mode_t(0600));
    QCOMPARE(SettingsFile(path()).read().values,
        (QJsonObject { { QStringLiteral("a"), 1 }, { QStringLiteral("good"), true } }));
    QCOMPARE(SettingsFile(path()).read().damage, QString());
}

void SettingsFileTest::identicalDamagedCopyIsNotMadeAgain()
{
    for (int i = 0; i < 3; ++i) {
        write(path(), QByteArray(1000, '\0'));
        QVERIFY(SettingsFile(path()).save(someChange).succeeded);
    }
    QVERIFY(QFile::exists(path("suite.json.damaged-1")));
    QVERIFY(!QFile::exists(path("suite.json.damaged-2")));
}

void SettingsFileTest::readingADamagedFileChangesNothing()
{
    write(path(), "{\"good\": true, ");
    const auto before = SettingsFile(path()).identity();
    const auto content = SettingsFile(path()).read();
    QVERIFY(!content.damage.isEmpty());
    QCOMPARE(content.values.size(), 1);
    // Nor does a save that changes nothing.
    QVERIFY(SettingsFile(path()).save({ content.values, {} }).succeeded);
    QVERIFY(SettingsFile(path()).identity() == before);
    QVERIFY(!QFile::exists(path("suite.json.damaged-1")));
}

void SettingsFileTest::blankFileIsAnEmptyDomain()
{
    write(path(), "\n");
    const auto content = SettingsFile(path()).read();
    QCOMPARE(content.damage, QString());
    QCOMPARE(content.values.size(), 0);
    QVERIFY(SettingsFile(path()).save(someChange).succeeded);
    QVERIFY(!QFile::exists(path("suite.json.damaged-1")));
}

void SettingsFileTest::whatIsNoFileIsRefusedWithoutWaiting_data()
{
    QTest::addColumn<bool>("isPipe");
    QTest::newRow("directory") << false;
    QTest::newRow("pipe") << true;
}

void SettingsFileTest::whatIsNoFileIsRefusedWithoutWaiting()
{
    QFETCH(const bool, isPipe);
    const QByteArray name = QFile::encodeName(path());
    QCOMPARE(isPipe ? ::mkfifo(name.constData(), 0600) : ::mkdir(name.constData(), 0700), 0);
    QElapsedTimer timer;
    timer.start();
    const QString error = SettingsFile(path()).read().error;
    QVERIFY2(error.contains(path()) && error.contains(QStringLiteral("read")), qUtf8Printable(error));
    const auto saved = SettingsFile(path()).save(someChange);
    QVERIFY(!saved.succeeded && !saved.changed);
    QCOMPARE(saved.error, error);
    QVERIFY(timer.elapsed() < 1000);
    QCOMPARE(stateOf(path()).st_mode & S_IFMT, mode_t(isPipe ? S_IFIFO : S_IFDIR));
}

void SettingsFileTest::fileOfAnotherUserIsRefused()
{
    if (::geteuid() != 0) {
        QVERIFY(SettingsFile(QStringLiteral("/etc/passwd"))
                    .read()
                    .error.contains(QStringLiteral("another user")));
        return;
    }
    write(path(), "{\"b\": 2}");
    QCOMPARE(::chown(QFile::encodeName(path()).constData(), 12345, gid_t(-1)), 0);
    QVERIFY(SettingsFile(path()).read().error.contains(QStringLiteral("another user")));
    const auto saved = SettingsFile(path()).save(someChange);
    QVERIFY(!saved.succeeded);
    QVERIFY(saved.error.contains(QStringLiteral("another user")));
    QCOMPARE(contentOf(path()), QByteArray("{\"b\": 2}"));
    QCOMPARE(SettingsFile(path(), SettingsFile::Owner::anybody).read().values.size(), 1);
}

void SettingsFileTest::tooLargeFileIsRefused()
{
    const QByteArray large = "{\"a\": \"" + QByteArray(SettingsText::maximumBytes, 'x') + "\"}";
    write(path(), large);
    QVERIFY(SettingsFile(path()).read().error.contains(QStringLiteral("too large")));
    QVERIFY(!SettingsFile(path()).save(someChange).succeeded);
    QCOMPARE(contentOf(path()), large);
}

void SettingsFileTest::saveThatWouldBeTooLargeIsRefused()
{
    QVERIFY(SettingsFile(path()).save(someChange).succeeded);
    const QByteArray before = contentOf(path());
    const QString huge(qsizetype(SettingsText::maximumBytes), u'x');
    const auto saved = SettingsFile(path()).save({ { { QStringLiteral("b"), huge } }, {} });
    QVERIFY(!saved.succeeded);
    QVERIFY(saved.error.contains(QStringLiteral("too large")));
    QCOMPARE(contentOf(path()), before);
}

void SettingsFileTest::valueThatNoTextCanHoldIsRefused()
{
    const auto saved = SettingsFile(path()).save({ { { QStringLiteral("b"), qQNaN() } }, {} });
    QVERIFY(!saved.succeeded);
    QVERIFY(saved.error.contains(QStringLiteral("b has")));
    QVERIFY(!QFile::exists(path()));
}

void SettingsFileTest::readOnlyDirectoryIsToldAndChangesNothing()
{
    write(path(), "{\"b\": 2}");
    QVERIFY(QFile::exists(path()));
    for (const bool hasLock : { false, true }) {
        if (hasLock)
            write(path("suite.json.lock"), {});
        QStringList owned { m_directory, path() };
        if (hasLock)
            owned.append(path("suite.json.lock"));
        const OrdinaryUser user(owned);
        QCOMPARE(::chmod(QFile::encodeName(m_directory).constData(), 0500), 0);
        const auto saved = SettingsFile(path()).save(someChange);
        QCOMPARE(::chmod(QFile::encodeName(m_directory).constData(), 0700), 0);
        QVERIFY(!saved.succeeded);
        QVERIFY(!saved.changed);
        QVERIFY2(saved.error.contains(path()) && saved.error.contains(QStringLiteral("Permission denied")),
            qUtf8Printable(saved.error));
        QVERIFY2(saved.error.contains(hasLock ? QStringLiteral("temporary file") : QStringLiteral("lock")),
            qUtf8Printable(saved.error));
        QCOMPARE(contentOf(path()), QByteArray("{\"b\": 2}"));
    }
}

void SettingsFileTest::heldLockIsToldAfterTwoSeconds()
{
    QVERIFY(SettingsFile(path()).save(someChange).succeeded);
    const int holder = ::open(QFile::encodeName(path("suite.json.lock")).constData(), O_RDWR | O_CLOEXEC);
    QCOMPARE(::flock(holder, LOCK_EX), 0);
    QElapsedTimer timer;
    timer.start();
    const auto saved = SettingsFile(path()).save({ { { QStringLiteral("a"), 2 } }, {} });
    const qint64 waited = timer.elapsed();
    QVERIFY(!saved.succeeded);
    QVERIFY2(saved.error.contains(QStringLiteral("lock")), qUtf8Printable(saved.error));
    QVERIFY2(waited >= 1900 && waited < 5000, QByteArray::number(waited).constData());
    QCOMPARE(SettingsFile(path()).read().values, someChange.values); // reading needs no lock
    ::close(holder);
    QVERIFY(SettingsFile(path()).save({ { { QStringLiteral("a"), 2 } }, {} }).succeeded);
}

void SettingsFileTest::lockOfARemovedDirectoryIsNotTaken()
{
    // A writer that waits on the lock in a directory which is then deleted and made anew.
    QVERIFY(SettingsFile(path("d/suite.json")).save(someChange).succeeded);
    const int holder = ::open(QFile::encodeName(path("d/suite.json.lock")).constData(), O_RDWR | O_CLOEXEC);
    QCOMPARE(::flock(holder, LOCK_EX), 0);
    SettingsFile::Saved saved;
    const std::unique_ptr<QThread> writer(QThread::create([&] {
        saved = SettingsFile(path("d/suite.json")).save({ { { QStringLiteral("b"), 2 } }, {} });
    }));
    writer->start();
    QTest::qSleep(100);
    QVERIFY(QDir(path("d")).removeRecursively());
    QVERIFY(QDir().mkpath(path("d")));
    const int second = ::open(
        QFile::encodeName(path("d/suite.json.lock")).constData(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    QCOMPARE(::flock(second, LOCK_EX), 0);
    ::close(holder);
    QTest::qSleep(100);
    const bool wroteUnlocked = QFile::exists(path("d/suite.json"));
    ::close(second);
    QVERIFY(writer->wait(5000));
    QVERIFY(!wroteUnlocked);
    QVERIFY2(saved.succeeded, qUtf8Printable(saved.error));
    QCOMPARE(SettingsFile(path("d/suite.json")).read().values.size(), 1);
}

void SettingsFileTest::leftoversAreSweptAfterAnHour()
{
    QVERIFY(QDir().mkpath(path("elsewhere")));
    QVERIFY(QFile::link(path("elsewhere/real.json"), path()));
    QVERIFY(SettingsFile(path()).save(someChange).succeeded);
    struct Case {
        const char* name;
        int age;
        bool isSwept;
    };
    const Case cases[] = {
        { ".kestrum-0123456789abcdef.tmp", 3700, true },
        { "elsewhere/.kestrum-fedcba9876543210.tmp", 3700, true },
        { ".kestrum-0000000000000001.tmp", 3500, false }, // may be in use
        { ".kestrum-notes.tmp", 3700, false },            // not ours
        { ".kestrum-0123456789abcdeX.tmp", 3700, false },
        { "x.kestrum-0123456789abcdef.tmp", 3700, false },
        { "suite.json.damaged-1", 3700, false },
    };
    for (const Case& entry : cases) {
        write(path(entry.name), "x");
        const time_t then = ::time(nullptr) - entry.age;
        const struct timespec times[] {
            { then, 0 }, { then, 0 }
        };
        QCOMPARE(::utimensat(AT_FDCWD, QFile::encodeName(path(entry.name)).constData(), times, 0), 0);
    }
    SettingsFile(path()).sweepLeftovers();
    for (const Case& entry : cases)
        QVERIFY2(QFile::exists(path(entry.name)) != entry.isSwept, entry.name);
    QVERIFY(QFile::exists(path()));
    QVERIFY(QFile::exists(path("suite.json.lock")));
}

KESTRUM_TEST_MAIN(QCoreApplication, SettingsFileTest)
#include "SettingsFileTest.moc"
