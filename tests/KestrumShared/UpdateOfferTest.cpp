#include "KestrumShared/Text/UpdateOffer.h"
#include "tests/Support/TestHome.h"
#include "tests/Support/Text.h"

#include <QTest>
#include <limits>

using namespace kestrum;

namespace {

constexpr qint64 none = -1'000'000;

} // namespace

class UpdateOfferTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void namesHoldTheBuildWhereItIsNotTheVersion()
    {
        QCOMPARE(UpdateOffer::name(text("1.4"), text("27")), text("1.4 (27)"));
        QCOMPARE(UpdateOffer::name(text("27"), text("27")), text("27"));
        QCOMPARE(UpdateOffer::name({}, {}), QString());
        QCOMPARE(UpdateOffer::buildNumber(UpdateOffer::name(text("1.4"), text("27"))), 27);
        QCOMPARE(UpdateOffer::buildNumber(UpdateOffer::name(text("27"), text("27"))), std::nullopt);
    }

    void theBuildNumberStandsInTheLastParentheses_data()
    {
        QTest::addColumn<QString>("version");
        QTest::addColumn<qint64>("number");
        const auto row
            = [](const char* version, qint64 number) { QTest::newRow(version) << text(version) << number; };
        row("1.5 (30)", 30);
        row("1.5 (30) beta", 30);
        row("(30)", 30);
        row("1.5 (beta) (30)", 30);
        row("1.5 (30) (beta)", none);
        row("1.5 ((30)", 30);
        row("1.5 (30))", none); // the text between the last "(" and the last ")" is "30)"
        for (const char* version :
            { "1.5", "", "1.5 (30", "1.5 30)", "1.5 )30(", "(1.5) 30(", "1.5 ()", "1.5 ( )" })
            row(version, none);
    }
    void theBuildNumberStandsInTheLastParentheses()
    {
        QFETCH(QString, version);
        QFETCH(qint64, number);
        QCOMPARE(UpdateOffer::buildNumber(version).value_or(none), number);
    }

    void blanksInsideTheParenthesesAreNoMatter()
    {
        for (const char* version : { "1.5 ( 30 )", "1.5 (    30  )", "1.5 (\t30\t)", "1.5 ( 30)", "1.5 (30 )",
                 "1.5 (\u00a030\u00a0)" })
            QVERIFY2(UpdateOffer::buildNumber(text(version)) == 30, version);
    }

    void onlyWholeNumbersAreBuildNumbers_data()
    {
        QTest::addColumn<QString>("inside");
        QTest::addColumn<qint64>("number");
        const auto row
            = [](const char* inside, qint64 number) { QTest::newRow(inside) << text(inside) << number; };
        row("0", 0);
        row("007", 7);
        row("+30", 30);
        row("-30", -30);
        row("-0", 0);
        row("9223372036854775807", std::numeric_limits<qint64>::max());
        row("-9223372036854775808", std::numeric_limits<qint64>::min());
        for (const char* inside : { "9223372036854775808", "-9223372036854775809",
                 "99999999999999999999999999", "30.0", "30.", "3e1", "0x1e", "1e", "1,000", "1 000", "- 30",
                 "+-30", "--30", "+", "-", "30a", "b30", "٣٠", "−30", "?" })
            row(inside, none);
    }
    void onlyWholeNumbersAreBuildNumbers()
    {
        QFETCH(QString, inside);
        QFETCH(qint64, number);
        QCOMPARE(UpdateOffer::buildNumber(text("1.5 (") + inside + u')').value_or(none), number);
    }

    void aNulIsNoPartOfANumber()
    {
        QCOMPARE(UpdateOffer::buildNumber(QStringLiteral("1.5 (3") + QChar(u'\0') + QStringLiteral("0)")),
            std::nullopt);
    }

    void anOfferStandsWhereItsBuildIsGreater_data()
    {
        QTest::addColumn<QString>("offered");
        QTest::addColumn<QString>("running");
        QTest::addColumn<bool>("stands");
        const auto row = [](const char* name, const char* offered, const char* running, bool stands) {
            QTest::newRow(name) << text(offered) << text(running) << stands;
        };
        row("a greater build", "1.5 (30)", "1.4 (27)", true);
        row("a greater build of an older version", "1.3 (30)", "1.4 (27)", true);
        row("the same build", "1.5 (27)", "1.4 (27)", false);
        row("the same text", "1.4 (27)", "1.4 (27)", false);
        row("a smaller build", "1.5 (26)", "1.4 (27)", false);
        row("numbers, not texts", "1.5 (100)", "1.4 (27)", true);
        row("numbers written in another way", "1.5 (027)", "1.4 (27)", false);
        row("an offer without a build number", "1.5", "1.4 (27)", true);
        row("an older offer without a build number", "1.3", "1.4 (27)", true);
        row("running without a build number", "1.5 (30)", "1.4", true);
        row("neither has a build number", "1.5", "1.4", true);
        row("the same text without a build number", "1.5", "1.5", false);
        row("texts differ by case", "1.5B", "1.5b", true);
        row("a build number too great to be one", "1.5 (9223372036854775808)", "1.4 (27)", true);
        row("an unknown running build", "1.5 (30)", "1.4 (?)", true);
        row("an empty text", "", "1.4 (27)", true);
        row("both empty", "", "", false);
    }
    void anOfferStandsWhereItsBuildIsGreater()
    {
        QFETCH(QString, offered);
        QFETCH(QString, running);
        QFETCH(bool, stands);
        const auto expected = stands ? std::optional(offered) : std::nullopt;
        QCOMPARE(UpdateOffer::standing(offered, running), expected);
    }

    void withoutAnOfferNothingStands()
    {
        QCOMPARE(UpdateOffer::standing(std::nullopt, text("1.4 (27)")), std::nullopt);
        QCOMPARE(UpdateOffer::standing(std::nullopt, QString()), std::nullopt);
    }
};

KESTRUM_TEST_MAIN(QCoreApplication, UpdateOfferTest)
#include "UpdateOfferTest.moc"
