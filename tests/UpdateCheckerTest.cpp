#include "KestrumAgent/Updates/UpdateChecker.h"
#include "KestrumShared/Settings/Setting.h"
#include "Platform/Bundle.h"
#include "tests/AptWorld.h"
#include "tests/FreshSettings.h"
#include "tests/SignalEar.h"

#include <QSignalSpy>
#include <csignal>

using namespace kestrum;

namespace {

QString text(const char* utf8)
{
    return QString::fromUtf8(utf8);
}

/// A checker and what it says.
struct Checking {
    UpdateChecker checker;
    QSignalSpy outcomes { &checker, &UpdateChecker::finished };
    Ear ear { SharedSettings::name(SharedSettings::Signal::updateAvailable) };

    /// The outcome of a check; empty when there is none within 20 s.
    QString check()
    {
        const int before = int(outcomes.count());
        checker.check();
        if (outcomes.count() != before)
            return text("told too early");
        if (!outcomes.wait(20'000))
            return {};
        return outcomes.last().first().toString();
    }
    QTimer& daily() { return *checker.findChild<QTimer*>(); }
    /// How often the window was told, when all has arrived.
    int posts() const
    {
        QTest::qWait(quietTime);
        return ear.count;
    }
};

std::optional<QString> offer()
{
    return SharedSettings::store().string(Keys::updatesAvailable.name);
}

} // namespace

/// Checks in an APT world of the test's own; where that cannot be made to misbehave, with a script in APT's place.
class UpdateCheckerTest : public QObject {
    Q_OBJECT

    QByteArray m_path;
    std::unique_ptr<FileTree> m_scripts;

    /// From now on the first apt-cache on the path is this shell script.
    void replaceApt(const QByteArray& script)
    {
        const QString name = QStringLiteral("apt-cache");
        m_scripts->write(name, "#!/bin/sh\n" + script);
        QVERIFY(QFile::setPermissions(
            m_scripts->path(name), QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
        qputenv("PATH", m_scripts->root().toUtf8() + ':' + m_path);
    }
    QByteArray written(const char* name) const
    {
        QFile file(m_scripts->path(QString::fromLatin1(name)));
        return file.open(QIODevice::ReadOnly) ? file.readAll().trimmed() : QByteArray();
    }

private Q_SLOTS:
    void initTestCase()
    {
        m_path = qgetenv("PATH");
        Bundle::setMain(Bundle(qEnvironmentVariable("KESTRUM_BUILD") + QStringLiteral("/Kestrum.app")));
    }

    void init()
    {
        forgetSettings();
        registerFactoryDefaults();
        m_scripts = std::make_unique<FileTree>();
    }

    void cleanup()
    {
        qputenv("PATH", m_path);
        qunsetenv("KESTRUM_DISABLE_UPDATER");
    }

    void theWorldIsApartFromTheMachines()
    {
        const AptWorld world;
        for (const QByteArray& place : AptWorld::places())
            QVERIFY2(place.startsWith(world.root().toUtf8()), place.constData());
        QVERIFY(AptWorld::policy().isEmpty());
    }

    void aNewerVersionIsOffered()
    {
        AptWorld world;
        world.publish({ text("1.4-27"), text("1.5-30") });
        world.install(text("1.4-27"));
        Checking checking;
        QCOMPARE(checking.check(), text("Kestrum 1.5 (30) is available."));
        QCOMPARE(offer(), text("1.5 (30)"));
        QCOMPARE(checking.posts(), 1);
    }

    void theSameOfferIsToldOnce()
    {
        AptWorld world;
        world.publish({ text("1.5-30") });
        world.install(text("1.4-27"));
        Checking checking;
        checking.check();
        QCOMPARE(checking.check(), text("Kestrum 1.5 (30) is available."));
        QCOMPARE(checking.posts(), 1);
        world.publish({ text("1.6-33") });
        QCOMPARE(checking.check(), text("Kestrum 1.6 (33) is available."));
        QCOMPARE(offer(), text("1.6 (33)"));
        QCOMPARE(checking.posts(), 2);
    }

    void anUpdateEndsTheOffer()
    {
        AptWorld world;
        world.publish({ text("1.4-27"), text("1.5-30") });
        world.install(text("1.4-27"));
        Checking checking;
        checking.check();
        QCOMPARE(checking.posts(), 1);
        world.install(text("1.5-30"));
        QCOMPARE(checking.check(), text("Kestrum is up to date."));
        QCOMPARE(offer(), std::nullopt);
        QCOMPARE(checking.posts(), 2);
    }

    void nothingIsToldWhereNothingWasOnOffer()
    {
        AptWorld world;
        world.publish({ text("1.4-27") });
        world.install(text("1.4-27"));
        Checking checking;
        QCOMPARE(checking.check(), text("Kestrum is up to date."));
        QCOMPARE(checking.posts(), 0);
    }

    void pinnedVersionsAreUpToDate_data()
    {
        QTest::addColumn<QByteArray>("preferences");
        const auto pin = [](const char* version, const char* priority) {
            return QByteArray("Package: kestrum\nPin: version ") + version + "\nPin-Priority: " + priority
                + '\n';
        };
        QTest::newRow("to what is installed") << pin("1.4-27", "1001");
        QTest::newRow("to what is older") << pin("1.3-20", "1001");
        QTest::newRow("the newer is refused") << pin("1.5*", "-1");
    }
    void pinnedVersionsAreUpToDate()
    {
        QFETCH(QByteArray, preferences);
        AptWorld world;
        world.publish({ text("1.3-20"), text("1.4-27"), text("1.5-30") });
        world.install(text("1.4-27"));
        Checking checking;
        QCOMPARE(checking.check(), text("Kestrum 1.5 (30) is available."));
        world.prefer(preferences);
        QCOMPARE(checking.check(), text("Kestrum is up to date."));
        QCOMPARE(offer(), std::nullopt);
    }

    void versionsAreComparedAsDebianDoes_data()
    {
        QTest::addColumn<QString>("installed");
        QTest::addColumn<QString>("published");
        QTest::addColumn<QString>("offered");
        const auto row = [](const char* installed, const char* published, const char* offered) {
            QTest::addRow("%s to %s", installed, published)
                << text(installed) << text(published) << text(offered);
        };
        row("1.9-27", "1.10-30", "1.10 (30)");
        row("1.5~rc1-29", "1.5-30", "1.5 (30)");
        row("1.5-30", "1.5~rc1-29", nullptr);
        row("2.0-40", "1:1.0-41", "1.0 (41)");
        row("1:1.0-41", "2.0-40", nullptr);
        row("1.5-9", "1.5-10", "1.5 (10)");
        row("1.5-30", "1.5-30+deb12u1", "1.5-30+deb12u1");
        row("1.4", "1.5", "1.5");
    }
    void versionsAreComparedAsDebianDoes()
    {
        QFETCH(QString, installed);
        QFETCH(QString, published);
        QFETCH(QString, offered);
        AptWorld world;
        world.publish({ published });
        world.install(installed);
        Checking checking;
        QVERIFY(!checking.check().isEmpty());
        QCOMPARE(offer().value_or(QString()), offered);
    }

    void withoutASourceNothingIsOffered()
    {
        const QString noSource = text("No source of updates is known.");
        AptWorld world;
        Checking checking;
        QCOMPARE(checking.check(), noSource); // APT has never heard of it
        world.install(text("1.4-27"));
        QCOMPARE(checking.check(), noSource); // installed by hand
        world.publish({ text("1.5-30") });
        QCOMPARE(checking.check(), text("Kestrum 1.5 (30) is available."));
        world.withdraw();
        QCOMPARE(checking.check(), noSource);
        QCOMPARE(offer(), std::nullopt);
        world.publish({ text("1.5-30") });
        world.install({});
        QCOMPARE(checking.check(), noSource); // not what is running
        QCOMPARE(offer(), std::nullopt);
        QCOMPARE(checking.posts(), 2);
    }

    void theReasonOfAFailureIsAptsOwn()
    {
        AptWorld world;
        world.publish({ text("1.5-30") });
        world.install(text("1.4-27"));
        Checking checking;
        checking.check();
        world.setSources("no line of this kind\n");
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(text("the check failed: .*sources.list")));
        const QString outcome = checking.check();
        QVERIFY2(outcome.startsWith(text("The check for updates failed: ")), qPrintable(outcome));
        QVERIFY2(outcome.contains(text("sources.list")), qPrintable(outcome));
        QVERIFY2(!outcome.contains(text("E: ")), qPrintable(outcome));
        // What was on offer before is still the best that is known.
        QCOMPARE(offer(), text("1.5 (30)"));
        QCOMPARE(checking.posts(), 1);
    }

    void outcomesAreToldInTheInterfaceLanguage()
    {
        Setting { Keys::language }.set(text("de"));
        AptWorld world;
        world.publish({ text("1.5-30") });
        world.install(text("1.4-27"));
        Checking checking;
        QCOMPARE(checking.check(), text("Kestrum 1.5 (30) ist verfügbar."));
    }

    void aptIsAskedInTheCLocaleWithoutAShell()
    {
        qputenv("LC_ALL", "de_DE.UTF-8");
        replaceApt("cd \"${0%/*}\"; echo \"$#:$*\" > arguments; echo \"$LC_ALL\" > locale; cat > input\n");
        Checking checking;
        checking.check();
        qunsetenv("LC_ALL");
        QCOMPARE(written("arguments"), QByteArray("2:policy kestrum"));
        QCOMPARE(written("locale"), QByteArray("C"));
        QVERIFY(QFile::exists(m_scripts->path(text("input")))); // it ended: there was nothing to read
    }

    void failuresAreTold_data()
    {
        QTest::addColumn<QByteArray>("script");
        QTest::addColumn<QString>("reason");
        QTest::newRow("garbage") << QByteArray("echo '<html>'\n") << text("APT's answer is not understood.");
        QTest::newRow("too much") << QByteArray("exec yes kestrum\n")
                                  << text("APT's answer is not understood.");
        QTest::newRow("too slow") << QByteArray("exec sleep 50\n") << text("APT took too long.");
        QTest::newRow("no word") << QByteArray("exit 100\n") << text("APT gave no answer.");
        QTest::newRow("killed") << QByteArray("kill -9 $$\n") << text("APT gave no answer.");
        QTest::newRow("complaint") << QByteArray("echo 'W: first' >&2; echo 'E: second' >&2; exit 100\n")
                                   << text("second");
        QTest::newRow("endless complaint")
            << QByteArray("echo 'E: first' >&2; yes >&2 & sleep 0.1; kill $!; exit 100\n") << text("first");
    }
    void failuresAreTold()
    {
        QFETCH(QByteArray, script);
        QFETCH(QString, reason);
        SharedSettings::store().set(Keys::updatesAvailable.name, text("1.5 (30)"));
        replaceApt("echo $$ > \"${0%/*}/pid\"\n" + script);
        Checking checking;
        checking.checker.setTimeLimit(
            std::chrono::milliseconds(QTest::currentDataTag() == QByteArray("too slow") ? 300 : 20'000));
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(text("the check failed: ")));
        QElapsedTimer clock;
        clock.start();
        QCOMPARE(checking.check(), text("The check for updates failed: ") + reason);
        QVERIFY(clock.elapsed() < 10'000);
        const int pid = written("pid").toInt();
        QVERIFY(pid > 0);
        QVERIFY(::kill(pid, 0) != 0);
        QCOMPARE(offer(), text("1.5 (30)"));
        QCOMPARE(checking.posts(), 0);
    }

    void aWarningIsNoFailure()
    {
        replaceApt("echo 'W: the lists are old' >&2\n");
        Checking checking;
        QCOMPARE(checking.check(), text("No source of updates is known."));
    }

    void aCheckThatRunsIsNotDoubled()
    {
        replaceApt("echo run >> \"${0%/*}/runs\"; sleep 0.2\n");
        Checking checking;
        checking.checker.check();
        checking.checker.check();
        QVERIFY(checking.outcomes.wait(10'000));
        QVERIFY(!checking.outcomes.wait(400));
        QCOMPARE(checking.outcomes.count(), 1);
        QCOMPARE(written("runs"), QByteArray("run"));
        checking.check();
        QCOMPARE(written("runs"), QByteArray("run\nrun"));
    }

    void aCheckEndsWithItsChecker()
    {
        replaceApt("echo $$ > \"${0%/*}/pid\"; exec sleep 50\n");
        {
            Checking checking;
            checking.checker.check();
            QTRY_VERIFY(!written("pid").isEmpty());
        }
        QVERIFY(::kill(written("pid").toInt(), 0) != 0);
    }

    void theSettingsSayWhetherChecksArePossible()
    {
        replaceApt({});
        const Setting canCheck { Keys::updaterCanCheck };
        {
            UpdateChecker checker;
            QVERIFY(!canCheck.value());
            checker.start();
            QVERIFY(canCheck.value());
        }
        qputenv("PATH", m_scripts->path(text("nothing here")).toUtf8());
        Checking checking;
        checking.checker.start();
        QVERIFY(!canCheck.value());
        QVERIFY(!checking.daily().isActive());
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(text("the check failed: ")));
        QVERIFY(checking.check().startsWith(text("The check for updates failed: ")));
    }

    void theEnvironmentSwitchesItOff()
    {
        replaceApt("echo run >> \"${0%/*}/runs\"\n");
        qputenv("KESTRUM_DISABLE_UPDATER", "1");
        Setting { Keys::updaterCanCheck }.set(true);
        Checking checking;
        checking.checker.start();
        QVERIFY(!Setting { Keys::updaterCanCheck }.value());
        QVERIFY(!checking.daily().isActive());
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(text("the check failed: ")));
        QCOMPARE(checking.check(), text("The check for updates failed: It is switched off."));
        QCOMPARE(written("runs"), QByteArray());
        qputenv("KESTRUM_DISABLE_UPDATER", "0");
        QCOMPARE(checking.check(), text("No source of updates is known."));
    }

    void itChecksByItselfWhileThatIsChosen()
    {
        using namespace std::chrono_literals;
        replaceApt({});
        const Setting choice { Keys::updatesCheckAutomatically };
        Checking checking;
        QTimer& daily = checking.daily();
        QVERIFY(!daily.isActive());
        checking.checker.start();
        QVERIFY(daily.isActive());
        QCOMPARE(daily.timerType(), Qt::VeryCoarseTimer);
        QVERIFY(daily.intervalAsDuration() >= 1min && daily.intervalAsDuration() <= 10min);
        choice.set(false);
        QTRY_VERIFY(!daily.isActive());
        choice.set(true);
        QTRY_VERIFY(daily.isActive());
    }

    void itDoesNotCheckByItselfWhereThatIsNotChosen()
    {
        replaceApt({});
        Setting { Keys::updatesCheckAutomatically }.set(false);
        Checking checking;
        checking.checker.start();
        QVERIFY(!checking.daily().isActive());
        QVERIFY(Setting { Keys::updaterCanCheck }.value());
    }

    void theNextCheckIsADayLaterAtSomeTime()
    {
        using namespace std::chrono_literals;
        replaceApt("echo run >> \"${0%/*}/runs\"\n");
        Checking checking;
        checking.checker.start();
        QTimer& daily = checking.daily();
        QSet<qint64> intervals;
        for (int i = 1; i <= 3; ++i) {
            daily.start(0);
            QTRY_COMPARE(written("runs").count("run"), i);
            QVERIFY(daily.isActive());
            QVERIFY(daily.intervalAsDuration() >= 23h && daily.intervalAsDuration() <= 25h);
            intervals.insert(daily.interval());
            QTest::qWait(quietTime);
        }
        QVERIFY(intervals.size() > 1);
        // Nobody asked for these.
        QCOMPARE(checking.outcomes.count(), 0);
    }

    void aCheckOfItsOwnLeavesItsOfferToo()
    {
        AptWorld world;
        world.publish({ text("1.5-30") });
        world.install(text("1.4-27"));
        Checking checking;
        checking.checker.start();
        checking.daily().start(0);
        QTRY_COMPARE(offer(), text("1.5 (30)"));
        QCOMPARE(checking.posts(), 1);
        QCOMPARE(checking.outcomes.count(), 0);
    }

    void whoAsksDuringACheckOfItsOwnIsAnswered()
    {
        replaceApt("echo run >> \"${0%/*}/runs\"; sleep 0.2\n");
        Checking checking;
        checking.checker.start();
        checking.daily().start(0);
        QTRY_COMPARE(written("runs"), QByteArray("run"));
        QCOMPARE(checking.check(), text("No source of updates is known."));
        QCOMPARE(written("runs"), QByteArray("run"));
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, UpdateCheckerTest)
#include "UpdateCheckerTest.moc"
