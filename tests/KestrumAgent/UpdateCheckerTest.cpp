#include "tests/Support/AptScript.h"
#include "tests/Support/AptWorld.h"
#include "tests/Support/Text.h"
#include "tests/Support/UpdateFixture.h"

using namespace kestrum;

class UpdateCheckerTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void init() { UpdateFixture::prepare(); }

    void theWorldIsApartFromTheMachines()
    {
        const AptWorld world;
        for (const QByteArray& place : AptWorld::places())
            QVERIFY2(place.startsWith(world.root().toUtf8()), place.constData());
        QVERIFY(AptWorld::policy().isEmpty());
    }

    void aNewerVersionIsOffered()
    {
        AptWorld world("1.4-27 1.5-30", "1.4-27");
        UpdateFixture fixture;
        QCOMPARE(fixture.check(), text("Kestrum 1.5 (30) is available."));
        QCOMPARE(UpdateFixture::offer(), text("1.5 (30)"));
        QCOMPARE(fixture.posts(), 1);
    }

    void theSameOfferIsToldOnce()
    {
        AptWorld world("1.5-30", "1.4-27");
        UpdateFixture fixture;
        fixture.check();
        QCOMPARE(fixture.check(), text("Kestrum 1.5 (30) is available."));
        QCOMPARE(fixture.posts(), 1);
        world.publish("1.6-33");
        QCOMPARE(fixture.check(), text("Kestrum 1.6 (33) is available."));
        QCOMPARE(UpdateFixture::offer(), text("1.6 (33)"));
        QCOMPARE(fixture.posts(), 2);
    }

    void anUpdateEndsTheOffer()
    {
        AptWorld world("1.4-27 1.5-30", "1.4-27");
        UpdateFixture fixture;
        fixture.check();
        QCOMPARE(fixture.posts(), 1);
        world.install("1.5-30");
        QCOMPARE(fixture.check(), text("Kestrum is up to date."));
        QCOMPARE(UpdateFixture::offer(), std::nullopt);
        QCOMPARE(fixture.posts(), 2);
    }

    void nothingIsToldWhereNothingWasOnOffer()
    {
        AptWorld world("1.4-27", "1.4-27");
        UpdateFixture fixture;
        QCOMPARE(fixture.check(), text("Kestrum is up to date."));
        QCOMPARE(fixture.posts(), 0);
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
        AptWorld world("1.3-20 1.4-27 1.5-30", "1.4-27");
        UpdateFixture fixture;
        QCOMPARE(fixture.check(), text("Kestrum 1.5 (30) is available."));
        world.prefer(preferences);
        QCOMPARE(fixture.check(), text("Kestrum is up to date."));
        QCOMPARE(UpdateFixture::offer(), std::nullopt);
    }

    void versionsAreComparedAsDebianDoes_data()
    {
        QTest::addColumn<QByteArray>("installed");
        QTest::addColumn<QByteArray>("published");
        QTest::addColumn<QString>("offered");
        const auto row = [](const char* installed, const char* published, const char* offered) {
            QTest::addRow("%s to %s", installed, published)
                << QByteArray(installed) << QByteArray(published) << text(offered);
        };
        row("1.9-27", "1.10-30", "1.10 (30)");
        row("1.5~rc1-29", "1.5-30", "1.5 (30)");
        row("1.5-30", "1.5~rc1-29", nullptr);
        row("2.0-40", "1:1.0-41", "1.0 (41)");
        row("1:1.0-41", "2.0-40", nullptr);
        row("1.5-9", "1.5-10", "1.5 (10)");
        row("1.5-30", "1.5-30+deb12u1", "1.5-30+deb12u1");
        row("1.5-30", "1.5-30+deb13", nullptr);
        row("1.5-30", "1.5-31+deb13", "1.5 (31)");
        row("1.4", "1.5", "1.5");
    }
    void versionsAreComparedAsDebianDoes()
    {
        QFETCH(QByteArray, installed);
        QFETCH(QByteArray, published);
        QFETCH(QString, offered);
        const AptWorld world(published.constData(), installed.constData());
        UpdateFixture fixture;
        QVERIFY(!fixture.check().isEmpty());
        QCOMPARE(UpdateFixture::offer().value_or(QString()), offered);
    }

    void withoutASourceNothingIsOffered()
    {
        const QString noSource = text("No source of updates is known.");
        AptWorld world;
        UpdateFixture fixture;
        QCOMPARE(fixture.check(), noSource); // APT does not know the package
        world.install("1.4-27");
        QCOMPARE(fixture.check(), noSource); // installed, but in no repository
        world.publish("1.5-30");
        QCOMPARE(fixture.check(), text("Kestrum 1.5 (30) is available."));
        world.publish("");
        QCOMPARE(fixture.check(), noSource);
        QCOMPARE(UpdateFixture::offer(), std::nullopt);
        world.publish("1.5-30");
        world.install("");
        QCOMPARE(fixture.check(), noSource); // the package is not installed
        QCOMPARE(UpdateFixture::offer(), std::nullopt);
        QCOMPARE(fixture.posts(), 2);
    }

    void theReasonOfAFailureIsAptsOwn()
    {
        AptWorld world("1.5-30", "1.4-27");
        UpdateFixture fixture;
        fixture.check();
        world.setSources("no line of this kind\n");
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(text("the check failed: .*sources.list")));
        const QString outcome = fixture.check();
        QVERIFY2(outcome.startsWith(text("The check for updates failed: "))
                && outcome.contains(text("sources.list")) && !outcome.contains(text("E: ")),
            qPrintable(outcome));
        // The earlier offer is still the newest known version.
        QCOMPARE(UpdateFixture::offer(), text("1.5 (30)"));
        QCOMPARE(fixture.posts(), 1);
    }

    void anAnswerThatIsNotUnderstoodIsAFailure()
    {
        const AptScript script("echo '<html>'\n");
        SharedSettings::store().set(Keys::updatesAvailable.name, text("1.5 (30)"));
        UpdateFixture fixture;
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression(text("the check failed: ")));
        QCOMPARE(fixture.check(), text("The check for updates failed: APT's answer is not understood."));
        QCOMPARE(UpdateFixture::offer(), text("1.5 (30)"));
        QCOMPARE(fixture.posts(), 0);
    }

    void outcomesAreToldInTheInterfaceLanguage()
    {
        Setting { Keys::language }.set(text("de"));
        AptWorld world("1.5-30", "1.4-27");
        UpdateFixture fixture;
        QCOMPARE(fixture.check(), text("Kestrum 1.5 (30) ist verfügbar."));
    }

    void aCheckOfItsOwnLeavesItsOfferToo()
    {
        AptWorld world("1.5-30", "1.4-27");
        UpdateFixture fixture;
        fixture.checker.start();
        fixture.daily().start(0);
        QTRY_COMPARE(UpdateFixture::offer(), text("1.5 (30)"));
        QCOMPARE(fixture.posts(), 1);
        QCOMPARE(fixture.outcomes.count(), 0);
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, UpdateCheckerTest)
#include "UpdateCheckerTest.moc"
