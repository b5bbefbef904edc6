#include "Platform/Store/SettingsText.h"
#include "tests/Support/KernelResources.h"
#include "tests/Support/OrdinaryUser.h"
#include "tests/Support/SettingsFolder.h"

#include <QCoreApplication>
#include <QDirIterator>
#include <QElapsedTimer>
#include <unistd.h>

using namespace kestrum;

/// Files that a read or a save refuses, and locks that another process holds.
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
        const auto refused = saved(path(), someValues);
        QVERIFY(!refused && !refused.changed);
        QCOMPARE(refused.failureText(), error);
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
        const auto refused = saved(path(), someValues);
        QVERIFY(!refused);
        QVERIFY(refused.failureText().contains(QStringLiteral("another user")));
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
        const auto refused = saved(file.path(), someValues);
        qputenv("HOME", ownHome);
        QVERIFY(SettingsFile::troubleOf(refused.failure()) == SettingsFile::Trouble::notAllowed);
        QVERIFY(!refused && !refused.changed);
        QVERIFY2(refused.failureText().startsWith(file.path())
                && refused.failureText().contains(
                    path(qUtf8Printable(theirs)) + QStringLiteral(" belongs to another user")),
            qUtf8Printable(refused.failureText()));
        QCOMPARE(entries(), before);
    }

    void tooLargeFileIsRefused()
    {
        const QByteArray large = "{\"a\": \"" + QByteArray(SettingsText::maximumBytes, 'x') + "\"}";
        write(path(), large);
        QVERIFY(SettingsFile(path()).read().failureText().contains(QStringLiteral("too large")));
        QVERIFY(!saved(path(), someValues));
        QCOMPARE(contentOf(path()), large);
    }

    void valueThatCannotBeStoredIsRefused()
    {
        QVERIFY(saved(path(), someValues));
        const QByteArray before = contentOf(path());
        const QJsonValue huge(QString(qsizetype(SettingsText::maximumBytes), u'x'));
        for (const auto& [value, reason] :
            { std::pair(huge, "too large"), std::pair(QJsonValue(qQNaN()), "b has") }) {
            for (const QString& file : { path(), path("new.json") }) {
                const auto refused = saved(file, json({ { "b", value } }));
                QVERIFY(!refused);
                QVERIFY2(refused.failureText().contains(QLatin1StringView(reason)), reason);
            }
            QCOMPARE(contentOf(path()), before);
            QVERIFY(!QFile::exists(path("new.json")));
        }
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
            const auto refused = saved(path(), someValues);
            QCOMPARE(::chmod(QFile::encodeName(m_directory).constData(), 0700), 0);
            QVERIFY(!refused);
            QVERIFY(!refused.changed);
            QVERIFY2(refused.failureText().contains(path())
                    && refused.failureText().contains(QStringLiteral("Permission denied")),
                qUtf8Printable(refused.failureText()));
            QVERIFY2(refused.failureText().contains(
                         hasLock ? QStringLiteral("temporary file") : QStringLiteral("lock")),
                qUtf8Printable(refused.failureText()));
            QCOMPARE(contentOf(path()), QByteArray("{\"b\": 2}"));
        }
    }

    void heldLockIsToldAfterTwoSeconds()
    {
        QVERIFY(saved(path(), someValues));
        FileDescriptor lock = locked("suite.json.lock");
        QElapsedTimer timer;
        timer.start();
        const auto refused = saved(path(), json({ { "a", 2 } }));
        const qint64 waited = timer.elapsed();
        QVERIFY(!refused);
        QVERIFY2(
            refused.failureText().contains(QStringLiteral("lock")), qUtf8Printable(refused.failureText()));
        QVERIFY2(waited >= 1900 && waited < 5000, QByteArray::number(waited).constData());
        QCOMPARE(SettingsFile(path()).read()->values, someValues); // reading needs no lock
        // However often a save is tried, no more than one thread and one descriptor stay behind.
        const auto threads = [] { return QDir(QStringLiteral("/proc/self/task")).entryList().size(); };
        const int descriptorsBefore = lowestFreeDescriptor();
        const qsizetype threadsBefore = threads();
        timer.start();
        QVERIFY(!saved(path(), json({ { "a", 2 } })));
        QVERIFY(timer.elapsed() >= 1900 && timer.elapsed() < 5000);
        QCOMPARE(lowestFreeDescriptor(), descriptorsBefore);
        QCOMPARE(threads(), threadsBefore);
        lock.close();
        QVERIFY(saved(path(), json({ { "a", 2 } })));
    }

    void lockOfARemovedDirectoryIsNotTaken()
    {
        // While a writer waits for the lock, the directory with the lock is deleted and created again.
        const QString file = path("d/suite.json");
        QVERIFY(saved(file, json({ { "old", 1 } })));
        FileDescriptor first = locked("d/suite.json.lock");
        SettingsFile::Saved result = Failure();
        const auto writer = startSave(file, result);
        QTRY_VERIFY(isAwaited(first));
        QVERIFY(QDir(path("d")).removeRecursively());
        QVERIFY(QDir().mkpath(path("d")));
        FileDescriptor second = locked("d/suite.json.lock");
        first.close();
        QTRY_VERIFY(isAwaited(second));
        QVERIFY(!QFile::exists(file));
        second.close();
        QVERIFY(writer->wait(5000));
        QVERIFY2(result, qUtf8Printable(result.failureText()));
        QCOMPARE(SettingsFile(file).read()->values, someValues);
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, SettingsFileRefusalTest)
#include "SettingsFileRefusalTest.moc"
