#include "tests/Support/FaultRow.h"
#include "tests/Support/ObservedSuite.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QFileSystemWatcher>
#include <QProcess>
#include <QStandardPaths>
#include <functional>

using namespace kestrum;

/// Observers get notices when a user or another program edits the file.
class UserDefaultsEditTest : public QObject, ObservedSuite {
    Q_OBJECT

private Q_SLOTS:
    void init() { nextSuite(); }

    void equalContentWrittenBySomebodyElseTellsNobody()
    {
        Observed observed(m_suite);
        QVERIFY(observed.store->set("a", 1));
        QTRY_COMPARE_WITH_TIMEOUT(observed.notices, 1, longestDelay);
        write(path(), "{\"a\":1}"); // a different layout
        QCOMPARE(observed.settled(), 1);
        replace(path(), textOf(1));
        QCOMPARE(observed.settled(), 1);
        // The watch still reports changes.
        replace(path(), textOf(2));
        QCOMPARE(observed.settled(), 2);
    }

    void editsByHandAreSeen_data()
    {
        QTest::addColumn<Edit>("edit");
        const auto row = [](const char* name, const Edit& edit) { QTest::newRow(name) << edit; };
        row("in place", write);
        row("replaced, as editors do", replace);
        row("old one moved away, new one written, as other editors do",
            [](const QString& path, const QByteArray& content) {
                QFile::remove(path + u'~');
                QVERIFY(QFile::rename(path, path + u'~'));
                write(path, content);
            });
        row("deleted and made again", [](const QString& path, const QByteArray& content) {
            QVERIFY(QFile::remove(path));
            write(path, content);
        });
        row("directory deleted and made again", [](const QString& path, const QByteArray& content) {
            QVERIFY(QDir(TestHome::configDirectory()).removeRecursively());
            deliverPendingEvents();
            QVERIFY(QDir().mkpath(TestHome::configDirectory()));
            write(path, content);
        });
        row("parent deleted and made again", [](const QString& path, const QByteArray& content) {
            QVERIFY(QFileInfo(TestHome::configDirectory()).dir().removeRecursively());
            QVERIFY(QDir().mkpath(TestHome::configDirectory()));
            write(path, content);
        });
        row("directory swapped", [](const QString& path, const QByteArray& content) {
            const QString aside = TestHome::configDirectory() + QStringLiteral(".new");
            QDir(aside + u'~').removeRecursively();
            QVERIFY(QDir().mkpath(aside));
            write(aside + u'/' + QFileInfo(path).fileName(), content);
            QVERIFY(QDir().rename(TestHome::configDirectory(), aside + u'~'));
            QVERIFY(QDir().rename(aside, TestHome::configDirectory()));
        });
        row("link retargeted", [](const QString& path, const QByteArray& content) {
            static int number = 0;
            const QString target = TestHome::root() + QStringLiteral("/target%1.json").arg(++number);
            write(target, content);
            QVERIFY(QFile::link(target, path + u'~'));
            QCOMPARE(
                ::rename(QFile::encodeName(path + u'~').constData(), QFile::encodeName(path).constData()), 0);
        });
        row("removed", [](const QString& path, const QByteArray&) { QVERIFY(QFile::remove(path)); });
    }

    void editsByHandAreSeen()
    {
        QFETCH(const Edit, edit);
        FaultRow row("editors' ways of saving");
        QVERIFY(QDir().mkpath(TestHome::configDirectory()));
        Observed observed(m_suite);
        for (int i = 1; i <= FaultRow::times(10, 100); ++i) {
            QVERIFY(observed.store->set("a", -i));
            QVERIFY(observed.settled() > 0);
            observed.notices = 0;
            QElapsedTimer timer;
            timer.start();
            edit(path(), textOf(i));
            const bool isGone = !QFile::exists(path());
            QTRY_VERIFY_WITH_TIMEOUT(observed.notices > 0, longestDelay);
            QTRY_COMPARE_WITH_TIMEOUT(
                observed.store->number("a").value_or(0), double(isGone ? 0 : i), longestDelay);
            QVERIFY(timer.elapsed() < longestDelay);
            row.add();
        }
    }

    void watchOnTheFileOnlyIsFoundOut()
    {
        // Proves that the check above can fail.
        FaultRow row("editors' ways of saving");
        QVERIFY(QDir().mkpath(TestHome::configDirectory()));
        write(path(), textOf(0));
        QFileSystemWatcher watcher({ path() });
        QByteArray seen;
        connect(&watcher, &QFileSystemWatcher::fileChanged, this, [&] {
            QFile file(path());
            if (file.open(QIODevice::ReadOnly))
                seen = file.readAll();
        });
        bool isSeen = true;
        for (int i = 1; i <= 3 && isSeen; ++i) {
            replace(path(), textOf(i));
            isSeen = QTest::qWaitFor([&] { return seen == textOf(i); }, longestDelay);
        }
        QVERIFY(!isSeen);
        row.addFoundOut();
    }

    void linkedFileIsFollowed()
    {
        const QString one = TestHome::root() + QStringLiteral("/dotfiles/one");
        const QString two = TestHome::root() + QStringLiteral("/dotfiles/two");
        QVERIFY(QDir().mkpath(one) && QDir().mkpath(two) && QDir().mkpath(TestHome::configDirectory()));
        write(one + QStringLiteral("/real.json"), textOf(1));
        write(two + QStringLiteral("/real.json"), textOf(2));
        QVERIFY(QFile::link(one + QStringLiteral("/real.json"), path()));
        Observed observed(m_suite);
        QCOMPARE(observed.store->number("a"), 1.0);

        int notices = 0;
        const auto expect = [&](int value) {
            ++notices; // outside the macro, which evaluates its arguments many times
            QTRY_COMPARE_WITH_TIMEOUT(observed.notices, notices, longestDelay);
            QCOMPARE(observed.store->number("a"), double(value));
        };
        write(one + QStringLiteral("/real.json"), textOf(3));
        expect(3);
        replace(one + QStringLiteral("/real.json"), textOf(4));
        expect(4);
        // The link gets another target in one step, so the link exists at any moment.
        QVERIFY(QFile::link(two + QStringLiteral("/real.json"), path() + u'~'));
        QCOMPARE(
            ::rename(QFile::encodeName(path() + u'~').constData(), QFile::encodeName(path()).constData()), 0);
        expect(2);
        write(two + QStringLiteral("/real.json"), textOf(5));
        expect(5);
        // Changes of the old target have no effect.
        write(one + QStringLiteral("/real.json"), textOf(6));
        QCOMPARE(observed.settled(), notices);
        // This store's save changes the target and causes one notice.
        QVERIFY(observed.store->set("a", 7));
        expect(7);
        QCOMPARE(observed.settled(), notices);
        QVERIFY(QFileInfo(path()).isSymLink());
    }

    void linkedFolderIsFollowedWhenItsTargetIsMadeAnew_data()
    {
        QTest::addColumn<QString>("link");
        QTest::newRow("the folder itself") << TestHome::configDirectory();
        QTest::newRow("the folder above") << QFileInfo(TestHome::configDirectory()).path();
    }

    void linkedFolderIsFollowedWhenItsTargetIsMadeAnew()
    {
        QFETCH(const QString, link);
        const QString target = TestHome::root() + QStringLiteral("/elsewhere/%1").arg(m_suite);
        const auto edit = [this](int value) {
            QVERIFY(QDir().mkpath(TestHome::configDirectory()));
            write(path(), textOf(value));
        };
        QDir(TestHome::configDirectory()).removeRecursively();
        QDir(link).removeRecursively();
        QVERIFY(QDir().mkpath(target));
        QVERIFY(QFile::link(target, link));
        edit(0);
        Observed observed(m_suite);
        QCOMPARE(observed.store->number("a"), 0.0);
        for (int i = 1; i <= 5; ++i) {
            QVERIFY(QDir(target).removeRecursively());
            deliverPendingEvents();
            QVERIFY(QDir().mkpath(target));
            edit(i);
            QTRY_COMPARE_WITH_TIMEOUT(observed.store->number("a").value_or(-1), double(i), longestDelay);
            // Later saves in the new folder are also noticed.
            edit(10 * i);
            QTRY_COMPARE_WITH_TIMEOUT(observed.store->number("a").value_or(-1), 10.0 * i, longestDelay);
        }
        // The link gets another target.
        const QString other = target + QStringLiteral(".other");
        QVERIFY(QDir().mkpath(other));
        QVERIFY(QFile::link(other, link + u'~'));
        QCOMPARE(
            ::rename(QFile::encodeName(link + u'~').constData(), QFile::encodeName(link).constData()), 0);
        edit(100);
        QTRY_COMPARE_WITH_TIMEOUT(observed.store->number("a").value_or(-1), 100.0, longestDelay);
        QVERIFY(QFile::remove(link));
        QVERIFY(QDir().mkpath(link));
    }

    void equalSizedEditsInPlaceInARowAreSeen()
    {
        // All edits have the same inode and size, and often the same tick of the kernel's clock.
        QVERIFY(QDir().mkpath(TestHome::configDirectory()));
        write(path(), textOf(100));
        Observed observed(m_suite);
        for (int i = 101; i < 400; ++i) {
            const int file = ::open(QFile::encodeName(path()).constData(), O_WRONLY | O_CLOEXEC);
            const QByteArray text = textOf(i);
            QCOMPARE(::write(file, text.constData(), size_t(text.size())), ssize_t(text.size()));
            ::close(file);
            QTRY_COMPARE_WITH_TIMEOUT(observed.store->number("a"), double(i), longestDelay);
        }
    }

    void damagedEditKeepsTheGoodKeys()
    {
        Observed observed(m_suite);
        QVERIFY(observed.store->apply(json({ { "a", 1 }, { "b", 1 } }), {}));
        QTRY_COMPARE_WITH_TIMEOUT(observed.notices, 1, longestDelay);
        write(path(), "{\n\"a\": 2,\n\"b\": tru\n}");
        QTRY_COMPARE_WITH_TIMEOUT(observed.notices, 2, longestDelay);
        QCOMPARE(observed.store->number("a"), 2.0);
        QCOMPARE(observed.store->object("b"), QJsonValue(QJsonValue::Undefined));
    }

    void checkoutOfAnotherVersionIsSeen()
    {
        if (QStandardPaths::findExecutable(QStringLiteral("git")).isEmpty())
            QSKIP("git is not installed");
        FaultRow row("editors' ways of saving");
        const QString directory = TestHome::configDirectory();
        QVERIFY(QDir().mkpath(directory));
        const auto git = [&](const QStringList& arguments) {
            QProcess process;
            process.setWorkingDirectory(directory);
            process.start(QStringLiteral("git"),
                QStringList { QStringLiteral("-c"), QStringLiteral("user.name=x"), QStringLiteral("-c"),
                    QStringLiteral("user.email=x@example.org") }
                    + arguments);
            return process.waitForFinished(10'000) && process.exitCode() == 0;
        };
        QVERIFY(git({ QStringLiteral("init"), QStringLiteral("-q") }));
        for (int version = 1; version <= 2; ++version) {
            write(path(), textOf(version));
            QVERIFY(git({ QStringLiteral("add"), path() }));
            QVERIFY(git({ QStringLiteral("commit"), QStringLiteral("-qm"), QStringLiteral("x") }));
            QVERIFY(git({ QStringLiteral("tag"), QStringLiteral("v%1").arg(version) }));
        }
        Observed observed(m_suite);
        for (int i = 0; i < FaultRow::times(6, 100); ++i) {
            const int version = 1 + i % 2;
            QVERIFY(git(
                { QStringLiteral("checkout"), QStringLiteral("-q"), QStringLiteral("v%1").arg(version) }));
            QTRY_COMPARE_WITH_TIMEOUT(observed.store->number("a"), double(version), longestDelay);
            row.add();
        }
    }

private:
    using Edit = std::function<void(const QString& path, const QByteArray& content)>;
};

KESTRUM_TEST_MAIN(QCoreApplication, UserDefaultsEditTest)
#include "UserDefaultsEditTest.moc"
