#include "Platform/Machine/AppRanking.h"
#include "tests/Support/Rows.h"
#include "tests/Support/TestHome.h"

#include <QRandomGenerator>

using namespace kestrum;

class AppRankingTest : public QObject {
    Q_OBJECT
private:
    using Sample = QList<std::pair<const char*, double>>;

    static AppRanking makeRanking(int rows)
    {
        return AppRanking(rows, [](const AppUse& app) { return app.cores; });
    }
    static QList<AppUse> apps(const Sample& sample)
    {
        QList<AppUse> list;
        for (const auto& [name, cores] : sample)
            list.append({ .id = QLatin1StringView(name),
                .name = QLatin1StringView(name).toString().toUpper(),
                .cores = cores });
        return list;
    }
    // The ids of the rows, one letter each.
    static QString order(const AppRanking& ranking)
    {
        QString ids;
        for (const AppUse& row : ranking.rows())
            ids += row.id;
        return ids;
    }

private Q_SLOTS:
    void rowsAreRankedByTheMeanOfTheLastThreeSamples()
    {
        AppRanking ranking = makeRanking(3);
        ranking.add(apps({ { "a", 3 }, { "b", 2 }, { "c", 1 }, { "d", 0.5 } }));
        QCOMPARE(order(ranking), QStringLiteral("abc"));
        // A short peak does not lift a row above one that was busy all the time.
        ranking.add(apps({ { "a", 3 }, { "b", 3.5 }, { "c", 1 } }));
        QCOMPARE(order(ranking), QStringLiteral("abc"));
        ranking.add(apps({ { "a", 3 }, { "b", 4 }, { "c", 1 } }));
        QCOMPARE(order(ranking), QStringLiteral("bac"));
        // The first sample, in which "a" was ahead, no longer counts.
        ranking.add(apps({ { "a", 4.6 }, { "b", 3 }, { "c", 1 } }));
        QCOMPARE(order(ranking), QStringLiteral("abc"));
    }

    void numbersAreThoseOfTheLastSample()
    {
        AppRanking ranking = makeRanking(2);
        ranking.add(apps({ { "a", 3 }, { "b", 2 } }));
        ranking.add(apps({ { "a", 1 }, { "b", 1.5 } }));
        QCOMPARE(ranking.rows(), apps({ { "a", 1 }, { "b", 1.5 } }));
        // An app that has ended uses nothing.
        ranking.add(apps({ { "a", 1 } }));
        QCOMPARE(ranking.rows(), apps({ { "a", 1 }, { "b", 0 } }));
    }

    void rowLeavesAfterItWasOutrankedTwice()
    {
        AppRanking ranking = makeRanking(2);
        ranking.add(apps({ { "a", 3 }, { "b", 1 }, { "c", 0.9 } }));
        ranking.add(apps({ { "a", 3 }, { "b", 1 }, { "c", 2 } }));
        QCOMPARE(order(ranking), QStringLiteral("ab"));
        // Outranked once, and then not: it begins anew.
        ranking.add(apps({ { "a", 3 }, { "b", 5 }, { "c", 1 } }));
        ranking.add(apps({ { "a", 3 }, { "b", 0 }, { "c", 9 } }));
        QCOMPARE(order(ranking), QStringLiteral("ab"));
        ranking.add(apps({ { "a", 3 }, { "b", 0 }, { "c", 9 } }));
        QCOMPARE(order(ranking), QStringLiteral("ca"));
    }

    void rowThatCameBackIsOutrankedTwiceToo()
    {
        AppRanking ranking = makeRanking(1);
        const auto next = [&ranking](double a, double b) {
            ranking.add(apps({ { "a", a }, { "b", b } }));
            return order(ranking);
        };
        QCOMPARE(next(3, 1), QStringLiteral("a"));
        QCOMPARE(next(0, 9), QStringLiteral("a"));
        QCOMPARE(next(0, 9), QStringLiteral("b"));
        QCOMPARE(next(30, 0), QStringLiteral("b"));
        QCOMPARE(next(30, 0), QStringLiteral("a"));
        QCOMPARE(next(0, 99), QStringLiteral("a"));
        QCOMPARE(next(0, 99), QStringLiteral("b"));
    }

    void appsThatUseNothingHaveNoRows()
    {
        AppRanking ranking = makeRanking(3);
        ranking.add(apps({ { "a", 3 }, { "b", 0 } }));
        QCOMPARE(order(ranking), QStringLiteral("a"));
        // The row goes when its use is three samples old, and two more have shown that nothing comes.
        for (const char* expected : { "a", "a", "a", "" }) {
            ranking.add(apps({ { "a", 0 }, { "b", 0 } }));
            QCOMPARE(order(ranking), QLatin1StringView(expected));
        }
        ranking.add({});
        QVERIFY(ranking.rows().isEmpty());
    }

    void rowsKeepTheirPlacesWhileHeld()
    {
        AppRanking ranking = makeRanking(2);
        ranking.add(apps({ { "a", 3 }, { "b", 2 }, { "c", 1 } }));
        ranking.setHeld(true);
        for (int i = 0; i < 5; ++i)
            ranking.add(apps({ { "b", 7 }, { "c", 9 } }));
        QCOMPARE(ranking.rows(), apps({ { "a", 0 }, { "b", 7 } }));
        ranking.setHeld(false);
        QCOMPARE(order(ranking), QStringLiteral("ab"));
        ranking.add(apps({ { "b", 7 }, { "c", 9 } }));
        QCOMPARE(order(ranking), QStringLiteral("cb"));
    }

    void emptyListIsFilledWhileHeld()
    {
        AppRanking ranking = makeRanking(2);
        ranking.setHeld(true);
        ranking.add({});
        ranking.add(apps({ { "a", 3 }, { "b", 2 }, { "c", 1 } }));
        QCOMPARE(order(ranking), QStringLiteral("ab"));
        ranking.add(apps({ { "a", 1 }, { "b", 2 }, { "c", 9 } }));
        QCOMPARE(order(ranking), QStringLiteral("ab"));
    }

    void equalAppsAreOrderedByName()
    {
        QList<AppUse> sample = apps({ { "d", 1 }, { "b", 1 }, { "c", 1 }, { "a", 1 }, { "e", 1 } });
        for (int i = 0; i < 20; ++i) {
            std::shuffle(sample.begin(), sample.end(), *QRandomGenerator::global());
            AppRanking ranking = makeRanking(3);
            for (int samples = 0; samples < 4; ++samples)
                ranking.add(sample);
            QCOMPARE(order(ranking), QStringLiteral("abc"));
        }
    }

    void listDoesNotFlickerInAChangingLoad()
    {
        // Six apps take turns at random around the same use. Without rest, each sample would change the rows.
        QRandomGenerator random(7);
        AppRanking ranking = makeRanking(5);
        int changes = 0;
        QStringList last;
        for (int i = 0; i < 200; ++i) {
            Sample sample;
            for (const char* id : { "a", "b", "c", "d", "e", "f" })
                sample.append({ id, 1 + random.generateDouble() });
            ranking.add(apps(sample));
            QStringList ids;
            for (const AppUse& row : ranking.rows())
                ids.append(row.id);
            QCOMPARE(ids.size(), 5);
            ids.sort();
            changes += i > 0 && ids != last ? 1 : 0;
            last = ids;
        }
        QVERIFY2(changes > 0 && changes < 60, QByteArray::number(changes).constData());
    }

    void clearForgetsEverything()
    {
        AppRanking ranking = makeRanking(2);
        ranking.add(apps({ { "a", 9 } }));
        ranking.clear();
        QVERIFY(ranking.rows().isEmpty());
        ranking.add(apps({ { "b", 1 }, { "c", 2 } }));
        QCOMPARE(order(ranking), QStringLiteral("cb"));
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, AppRankingTest)
#include "AppRankingTest.moc"
