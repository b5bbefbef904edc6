#include "Platform/Signals/NotificationCentre.h"
#include "tests/Support/FileContent.h"
#include "tests/Support/HelperProcess.h"
#include "tests/Support/Programs.h"
#include "tests/Support/SignalRecorder.h"

#include <QCoreApplication>
#include <QDeadlineTimer>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QTest>
#include <ctime>
#include <fcntl.h>
#include <functional>
#include <map>
#include <sys/stat.h>
#include <unistd.h>

using namespace kestrum;

/// Handlers must not be called without a post when the signals' directory changes or kernel watches are lost. Real posts must
/// still be delivered meanwhile.
class SignalsUnpostedTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init() { deliverPendingEvents(); } // events of the test before

    void aThousandDisturbancesAreNotHeard()
    {
        const QByteArray away = besidePath("away");
        const QByteArray whole = besidePath("kestrum");
        const std::function<void()> disturbances[] = {
            [] { ::utimensat(AT_FDCWD, path().constData(), nullptr, 0); },
            [] { ::chmod(path().constData(), 0755), ::chmod(path().constData(), 0700); },
            [] { ::chmod(path("/x").constData(), 0400), ::chmod(path("/x").constData(), 0600); },
            [] { ::unlink(path("/x").constData()); },
            [] { ::link(path("/y").constData(), path("/z").constData()), ::unlink(path("/z").constData()); },
            [] { QDir(signalsDirectory()).removeRecursively(); },
            [&] { moveAway(path(), away), moveBack(away, path()); },
            [&] { moveAway(whole, away), moveBack(away, whole); },
            [] { (void)QDir(signalsDirectory()).entryList(); },
            [] { ::close(::open(path("/y").constData(), O_RDONLY | O_CLOEXEC)); },
            [] { NotificationCentre::post(QStringLiteral("of no interest")); },
        };
        const Ear x(QStringLiteral("x"));
        const Ear y(QStringLiteral("y"));
        const Ear never(QStringLiteral("never"));
        HelperProcess helper({ QStringLiteral("listen"), QStringLiteral("x"), QStringLiteral("never") });
        QCOMPARE(helper.line(), QByteArray("ready"));
        int posts = 0;
        for (int i = 0; i < 1000; ++i) {
            disturbances[size_t(i) % std::size(disturbances)]();
            QTest::qWait(i % 3);
            if (i % 50 != 0)
                continue;
            // Every 50 rounds there is a real post.
            QVERIFY2(
                x.settled() == posts && y.count == posts && never.count == 0, qPrintable(QString::number(i)));
            ++posts;
            NotificationCentre::post(QStringLiteral("x"));
            NotificationCentre::post(QStringLiteral("y"));
            QTRY_VERIFY(x.count == posts && y.count == posts);
            QCOMPARE(helper.line(), QByteArray("heard x"));
        }
        QTest::qWait(quietTime);
        QCOMPARE(x.count, posts);
        QCOMPARE(y.count, posts);
        QCOMPARE(never.count, 0);
        QVERIFY(!helper.hasLine(100));
    }

    void aDirectoryThatComesBackAsItWasIsNotHeard()
    {
        NotificationCentre::post(QStringLiteral("x"));
        const Ear ear(QStringLiteral("x"));
        const QByteArray away = besidePath("away");
        moveAway(path(), away);
        deliverPendingEvents();
        moveBack(away, path());
        QCOMPARE(ear.settled(), 0);
        NotificationCentre::post(QStringLiteral("x"));
        QTRY_COMPARE(ear.count, 1);
    }

    void aPostIntoADirectoryThatIsAwayIsHeardWhenItComesBack()
    {
        const Ear ear(QStringLiteral("made while away"));
        const QByteArray away = besidePath("away");
        moveAway(path(), away);
        deliverPendingEvents();
        QFile file(QFile::decodeName(away + "/made%20while%20away"));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.close();
        moveBack(away, path());
        QTRY_COMPARE(ear.count, 1);
    }

    void aPostByAClockThatWasSetBackIsHeard()
    {
        NotificationCentre::post(QStringLiteral("x"));
        setTimes(signalsDirectory() + QStringLiteral("/x"), ::time(nullptr) + 86'400);
        const Ear ear(QStringLiteral("x"));
        NotificationCentre::post(QStringLiteral("x"));
        QTRY_COMPARE(ear.count, 1);
        setTimes(signalsDirectory() + QStringLiteral("/x"), 1'000'000);
        QTRY_COMPARE(ear.count, 2);
    }

    void whereTheDirectoryCannotBeMadeNothingIsHeard()
    {
        const Ear ear(QStringLiteral("x"));
        NotificationCentre::post(QStringLiteral("x"));
        QTRY_COMPARE(ear.count, 1);
        QVERIFY(QDir(signalsDirectory()).removeRecursively());
        const int file = ::open(path().constData(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
        if (file < 0) { // a listener has created the directory again
            QVERIFY(QDir(signalsDirectory()).removeRecursively());
            QVERIFY(QFile(signalsDirectory()).open(QIODevice::WriteOnly));
        } else {
            ::close(file);
        }
        for (int i = 0; i < 20; ++i) {
            ::utimensat(AT_FDCWD, path().constData(), nullptr, 0);
            QCOMPARE(ear.settled(), 1);
        }
        QVERIFY(QFile::remove(signalsDirectory()));
        QCOMPARE(ear.settled(), 1);
        NotificationCentre::post(QStringLiteral("x"));
        QTRY_COMPARE(ear.count, 2);
    }

    void withoutKernelWatchesOnlyPostsAreHeard()
    {
        const QString old = QStringLiteral("x");
        const QString fresh = QStringLiteral("fresh");
        NotificationCentre::post(old);
        setTimes(signalsDirectory() + QStringLiteral("/x"), ::time(nullptr) + 86'400);
        // Both kinds of shortage are tested at once, because each test waits for several polls.
        std::map<QString, std::unique_ptr<HelperProcess>> helpers;
        for (const QString& kind : { QStringLiteral("instances"), QStringLiteral("watches") }) {
            auto& helper = helpers[kind];
            helper = std::make_unique<HelperProcess>(
                QStringList { QStringLiteral("starved"), kind, QStringLiteral("listen"), old, fresh });
            const QByteArray first = helper->line();
            if (first.startsWith("unsupported"))
                QSKIP("this kernel does not let us lower the limits for one process");
            QCOMPARE(first, QByteArray("ready"));
        }
        const auto expectSilence = [&helpers](int milliseconds) {
            const QDeadlineTimer end(milliseconds);
            for (const auto& [kind, helper] : helpers)
                QVERIFY2(!helper->hasLine(int(end.remainingTime())), qPrintable(kind));
        };
        // The directory is polled every 2 s.
        expectSilence(4500);
        for (const QString& name : { old, fresh, fresh }) {
            QElapsedTimer timer;
            timer.start();
            NotificationCentre::post(name);
            for (const auto& [kind, helper] : helpers)
                QVERIFY2(helper->line() == "heard " + name.toUtf8(), qPrintable(kind));
            QVERIFY(Programs::areSanitized || timer.elapsed() < 2500);
        }
        expectSilence(2500);
        for (const auto& [kind, helper] : helpers) {
            const QByteArray said = helper->errors();
            QVERIFY2(said.count('\n') == 1 && said.contains("looked at every 2 s"), said.constData());
        }
    }

private:
    static QByteArray path(const char* below = "") { return QFile::encodeName(signalsDirectory()) + below; }
    static QByteArray besidePath(const char* name)
    {
        return QFile::encodeName(TestHome::runtimeDirectory() + u'/') + name;
    }
    /// Moves the directory `place` away. If `place` is missing, first waits until the listeners have created it again.
    static void moveAway(const QByteArray& place, const QByteArray& away)
    {
        QVERIFY(QTest::qWaitFor([&] { return ::rename(place.constData(), away.constData()) == 0; }));
    }
    /// Moves the directory `away` back to `place`. Removes a directory that listeners have meanwhile created there.
    static void moveBack(const QByteArray& away, const QByteArray& place)
    {
        QVERIFY(QTest::qWaitFor([&] {
            QDir(QFile::decodeName(place)).removeRecursively();
            return ::rename(away.constData(), place.constData()) == 0;
        }));
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, SignalsUnpostedTest)
#include "SignalsUnpostedTest.moc"
