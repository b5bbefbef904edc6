#include "kestrumctl/NearestNames.h"
#include "tests/Support/Kestrumctl.h"

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
        QCOMPARE(NearestNames::of(QStringLiteral("listn"), words("lister listen list")),
            words("listen list lister"));
    }

    void atMostThreeAreNamed()
    {
        const QStringList names = words("aaa1 aaa2 aaa3 aaa4");
        QCOMPARE(NearestNames::of(QStringLiteral("aaa5"), names), names.mid(0, 3));
        QCOMPARE(NearestNames::unknown("thing", QStringLiteral("aaa5"), names),
            QStringLiteral("there is no thing \"aaa5\"; did you mean \"aaa1\", \"aaa2\" or \"aaa3\"?"));
    }

    void farNamesAreNotNamed()
    {
        // Three changes turn any three-letter word into any other, so nothing is suggested for "xyz".
        for (const char* word : { "language", "xyz", "" })
            QCOMPARE(NearestNames::of(QString::fromLatin1(word), words("meterStyle cpu")), QStringList());
    }

    void aPartOfANameFindsIt()
    {
        QCOMPARE(NearestNames::of(QStringLiteral("accent"), words("cpuAccent meterStyle cpuReadout")),
            words("cpuAccent"));
    }

    void fewNamesAreAllListedWhenNoneIsNear()
    {
        QCOMPARE(NearestNames::unknown("appearance", QStringLiteral("sepia"), words("light dark")),
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
