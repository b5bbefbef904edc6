#include "Platform/Store/SettingsText.h"
#include "tests/Support/OrdinaryUser.h"
#include "tests/Support/SettingsFolder.h"

#include <QCoreApplication>
#include <QDirIterator>
#include <QElapsedTimer>
#include <QThread>
#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

using namespace kestrum;

/// Files that are refused by a read or a save, and locks that another process holds.
class SettingsFileRefusalTest : public QObject, SettingsFolder {
    Q_OBJECT

private Q_SLOTS:
    void init() { makeFolder(); }

    void whatIsNoFileIsRefusedWithoutWaiting_data()
    {
        QTest::addColumn<bool>("isPipe");
        QTest::newRow("directory") << false;
        QTest::newRow("pipe") << true;
    }

    void whatIsNoFileIsRefusedWithoutWaiting()
    {
        QFETCH(const bool, isPipe);
        const QByteArray name = QFile::encodeName(path());
        QCOMPARE(isPipe ? ::mkfifo(name.constData(), 0600) : ::mkdir(name.constData(), 0700), 0);
        QElapsedTimer timer;
        timer.start();
        const QString error = SettingsFile(path()).read().failureText();
        QVERIFY2(error.contains(path()) && error.contains(QStringLiteral("read")), qUtf8Printable(error));
        const auto saved = SettingsFile(path()).save(someChange);
        QVERIFY(!saved && !saved.changed);
        QCOMPARE(saved.failureText(), error);
        QVERIFY(timer.elapsed() < 1000);
        QCOMPARE(stateOf(path()).st_mode & S_IFMT, mode_t(isPipe ? S_IFIFO : S_IFDIR));
    }

    void fileOfAnotherUserIsRefused()
    {
        if (::geteuid() != 0) {
            QVERIFY(SettingsFile(QStringLiteral("/etc/passwd"))
                        .read()
                        .failureText()
                        .contains(QStringLiteral("another user")));
            return;
        }
        write(path(), "{\"b\": 2}");
        QCOMPARE(::chown(QFile::encodeName(path()).constData(), 12345, gid_t(-1)), 0);
        QVERIFY(SettingsFile(path()).read().failureText().contains(QStringLiteral("another user")));
        const auto saved = SettingsFile(path()).save(someChange);
        QVERIFY(!saved);
        QVERIFY(saved.failureText().contains(QStringLiteral("another user")));
        QCOMPARE(contentOf(path()), QByteArray("{\"b\": 2}"));
        QCOMPARE(SettingsFile(path(), SettingsFile::Owner::anybody).read()->values.size(), 1);
    }

    void rootLeavesNothingInTheFolderOfAnother_data()
    {
        QTest::addColumn<QString>("theirs");
        QTest::addColumn<QString>("ours");
        QTest::newRow("all folders are to be made") << QStringLiteral("home") << QString();
        QTest::newRow("only the file is to be made") << QStringLiteral("home/.config/kestrum") << QString();
        QTest::newRow("root was there before")
            << QStringLiteral("home") << QStringLiteral("home/.config/kestrum");
    }

    void rootLeavesNothingInTheFolderOfAnother()
    {
        if (::geteuid() != 0)
            QSKIP("this is about root");
        QFETCH(const QString, theirs);
        QFETCH(const QString, ours);
        const QString home = path("home");
        QVERIFY(QDir().mkpath(path(qUtf8Printable(theirs))));
        QCOMPARE(::chown(QFile::encodeName(path(qUtf8Printable(theirs))).constData(), 12345, gid_t(-1)), 0);
        if (!ours.isEmpty())
            QVERIFY(QDir().mkpath(path(qUtf8Printable(ours))));
        const auto entries = [&home] {
            QStringList found;
            for (QDirIterator it(home, QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot,
                     QDirIterator::Subdirectories);
                 it.hasNext();)
                found.append(it.next());
            return found;
        };
        const QStringList before = entries();

        const QByteArray ownHome = qgetenv("HOME");
        qputenv("HOME", QFile::encodeName(home));
        const SettingsFile file(home + QStringLiteral("/.config/kestrum/suite.json"));
        const auto saved = file.save(someChange);
        qputenv("HOME", ownHome);
        QVERIFY(SettingsFile::troubleOf(saved.failure()) == SettingsFile::Trouble::notAllowed);
        QVERIFY(!saved && !saved.changed);
        QVERIFY2(saved.failureText().startsWith(file.path())
                && saved.failureText().contains(
                    path(qUtf8Printable(theirs)) + QStringLiteral(" belongs to another user")),
            qUtf8Printable(saved.failureText()));
        QCOMPARE(entries(), before);
    }

    void tooLargeFileIsRefused()
    {
        const QByteArray large = "{\"a\": \"" + QByteArray(SettingsText::maximumBytes, 'x') + "\"}";
        write(path(), large);
        QVERIFY(SettingsFile(path()).read().failureText().contains(QStringLiteral("too large")));
        QVERIFY(!SettingsFile(path()).save(someChange));
        QCOMPARE(contentOf(path()), large);
    }

    void saveThatWouldBeTooLargeIsRefused()
    {
        QVERIFY(SettingsFile(path()).save(someChange));
        const QByteArray before = contentOf(path());
        const QString huge(qsizetype(SettingsText::maximumBytes), u'x');
        const auto saved = SettingsFile(path()).save({ { { QStringLiteral("b"), huge } }, {} });
        QVERIFY(!saved);
        QVERIFY(saved.failureText().contains(QStringLiteral("too large")));
        QCOMPARE(contentOf(path()), before);
    }

    void valueThatNoTextCanHoldIsRefused()
    {
        const auto saved = SettingsFile(path()).save({ { { QStringLiteral("b"), qQNaN() } }, {} });
        QVERIFY(!saved);
        QVERIFY(saved.failureText().contains(QStringLiteral("b has")));
        QVERIFY(!QFile::exists(path()));
    }

    void readOnlyDirectoryIsToldAndChangesNothing()
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
            QVERIFY(!saved);
            QVERIFY(!saved.changed);
            QVERIFY2(saved.failureText().contains(path())
                    && saved.failureText().contains(QStringLiteral("Permission denied")),
                qUtf8Printable(saved.failureText()));
            QVERIFY2(saved.failureText().contains(
                         hasLock ? QStringLiteral("temporary file") : QStringLiteral("lock")),
                qUtf8Printable(saved.failureText()));
            QCOMPARE(contentOf(path()), QByteArray("{\"b\": 2}"));
        }
    }

    void heldLockIsToldAfterTwoSeconds()
    {
        QVERIFY(SettingsFile(path()).save(someChange));
        const int holder = ::open(QFile::encodeName(path("suite.json.lock")).constData(), O_RDWR | O_CLOEXEC);
        QCOMPARE(::flock(holder, LOCK_EX), 0);
        QElapsedTimer timer;
        timer.start();
        const auto saved = SettingsFile(path()).save({ { { QStringLiteral("a"), 2 } }, {} });
        const qint64 waited = timer.elapsed();
        QVERIFY(!saved);
        QVERIFY2(saved.failureText().contains(QStringLiteral("lock")), qUtf8Printable(saved.failureText()));
        QVERIFY2(waited >= 1900 && waited < 5000, QByteArray::number(waited).constData());
        QCOMPARE(SettingsFile(path()).read()->values, someChange.values); // reading needs no lock
        ::close(holder);
        QVERIFY(SettingsFile(path()).save({ { { QStringLiteral("a"), 2 } }, {} }));
    }

    void lockOfARemovedDirectoryIsNotTaken()
    {
        // While a writer waits for the lock, the directory of the lock is deleted and created again.
        QVERIFY(SettingsFile(path("d/suite.json")).save(someChange));
        const int holder
            = ::open(QFile::encodeName(path("d/suite.json.lock")).constData(), O_RDWR | O_CLOEXEC);
        QCOMPARE(::flock(holder, LOCK_EX), 0);
        SettingsFile::Saved saved = Failure();
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
        QVERIFY2(saved, qUtf8Printable(saved.failureText()));
        QCOMPARE(SettingsFile(path("d/suite.json")).read()->values.size(), 1);
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, SettingsFileRefusalTest)
#include "SettingsFileRefusalTest.moc"
