#include "kestrumctl/NearestNames.h"
#include "tests/Support/TestHome.h"

#include <QTest>

using namespace kestrum;

class NearestNamesTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void distanceCountsTheChangedLetters_data()
    {
        QTest::addColumn<QString>("word");
        QTest::addColumn<QString>("other");
        QTest::addColumn<int>("changes");
        const auto row = [](const char* name, const char* word, const char* other, int changes) {
            QTest::newRow(name) << QString::fromUtf8(word) << QString::fromUtf8(other) << changes;
        };
        row("both empty", "", "", 0);
        row("from nothing", "", "abc", 3);
        row("to nothing", "abc", "", 3);
        row("equal", "meterStyle", "meterStyle", 0);
        row("case", "meterstyle", "meterStyle", 0);
        row("inserted", "mterStyle", "meterStyle", 1);
        row("removed", "meterrStyle", "meterStyle", 1);
        row("replaced", "metarStyle", "meterStyle", 1);
        row("exchanged", "meterStlye", "meterStyle", 1);
        row("exchanged at the start", "ab", "ba", 1);
        row("several", "kitten", "sitting", 3);
        row("nothing alike", "abc", "xyz", 3);
    }

    void distanceCountsTheChangedLetters()
    {
        QFETCH(const QString, word);
        QFETCH(const QString, other);
        QFETCH(const int, changes);
        QCOMPARE(NearestNames::distance(word, other), changes);
        QCOMPARE(NearestNames::distance(other, word), changes);
    }

    void theNearestComesFirst()
    {
        const QStringList names { QStringLiteral("lister"), QStringLiteral("listen"),
            QStringLiteral("list") };
        QCOMPARE(NearestNames::of(QStringLiteral("listn"), names),
            (QStringList { QStringLiteral("listen"), QStringLiteral("list"), QStringLiteral("lister") }));
    }

    void atMostThreeAreNamed()
    {
        const QStringList names { QStringLiteral("aaa1"), QStringLiteral("aaa2"), QStringLiteral("aaa3"),
            QStringLiteral("aaa4") };
        QCOMPARE(NearestNames::of(QStringLiteral("aaa5"), names), names.mid(0, 3));
        QCOMPARE(NearestNames::unknown("thing", QStringLiteral("aaa5"), names),
            QStringLiteral("there is no thing \"aaa5\"; did you mean \"aaa1\", \"aaa2\" or \"aaa3\"?"));
    }

    void farNamesAreNotNamed()
    {
        const QStringList names { QStringLiteral("meterStyle"), QStringLiteral("cpu") };
        QCOMPARE(NearestNames::of(QStringLiteral("language"), names), QStringList());
        // Three changes turn any three-letter word into any other, so nothing is suggested.
        QCOMPARE(NearestNames::of(QStringLiteral("xyz"), names), QStringList());
        QCOMPARE(NearestNames::of(QString(), names), QStringList());
    }

    void aPartOfANameFindsIt()
    {
        const QStringList names { QStringLiteral("cpuAccent"), QStringLiteral("meterStyle"),
            QStringLiteral("cpuReadout") };
        QCOMPARE(
            NearestNames::of(QStringLiteral("accent"), names), (QStringList { QStringLiteral("cpuAccent") }));
    }

    void fewNamesAreAllListedWhenNoneIsNear()
    {
        const QStringList names { QStringLiteral("light"), QStringLiteral("dark") };
        QCOMPARE(NearestNames::unknown("appearance", QStringLiteral("sepia"), names),
            QStringLiteral("there is no appearance \"sepia\"; there is \"light\" or \"dark\""));
        QStringList many;
        for (int i = 0; i < 30; ++i)
            many.append(QStringLiteral("name%1").arg(i));
        QCOMPARE(NearestNames::unknown("key", QStringLiteral("zzzzzz"), many),
            QStringLiteral("there is no key \"zzzzzz\""));
    }

    void aVeryLongWordIsNotCompared()
    {
        QString word(100'000, QLatin1Char('a'));
        QCOMPARE(NearestNames::of(word, { QStringLiteral("aaa") }), QStringList());
        QVERIFY(NearestNames::unknown("key", word, { QStringLiteral("aaa") }).size() < 400);
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, NearestNamesTest)
#include "NearestNamesTest.moc"
