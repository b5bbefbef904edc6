#include "KestrumShared/Vocabulary/MeterAccent.h"
#include "KestrumShared/Text/Title.h"
#include "tests/Support/TestBundle.h"
#include "tests/Support/TestHome.h"
#include "tests/Support/TestSession.h"

#include <QGuiApplication>
#include <QtTest>
#include <limits>

using namespace kestrum;

class MeterAccentTest : public QObject {
    Q_OBJECT
private Q_SLOTS:
    void everyPresetHasItsNameTitleAndColour_data()
    {
        QTest::addColumn<QString>("title");
        QTest::addColumn<double>("red");
        QTest::addColumn<double>("green");
        QTest::addColumn<double>("blue");
        QTest::newRow("signal") << "Signal" << 0.27 << 0.72 << 0.60;
        QTest::newRow("blue") << "Blue" << 0.28 << 0.56 << 0.92;
        QTest::newRow("indigo") << "Indigo" << 0.42 << 0.42 << 0.95;
        QTest::newRow("purple") << "Purple" << 0.58 << 0.46 << 0.92;
        QTest::newRow("teal") << "Teal" << 0.22 << 0.66 << 0.78;
        QTest::newRow("pine") << "Pine" << 0.14 << 0.47 << 0.40;
        QTest::newRow("amber") << "Amber" << 0.90 << 0.68 << 0.26;
        QTest::newRow("graphite") << "Graphite" << 0.64 << 0.66 << 0.70;
    }

    void everyPresetHasItsNameTitleAndColour()
    {
        QFETCH(QString, title);
        QFETCH(double, red);
        QFETCH(double, green);
        QFETCH(double, blue);
        const QString name = QString::fromLatin1(QTest::currentDataTag());
        const auto accent = MeterAccent::fromRawValue(name);
        QVERIFY(accent);
        QCOMPARE(accent->rawValue(), name);
        QCOMPARE(kestrum::title(*accent), title);
        QVERIFY(!accent->isCustom());
        const QColor colour = accent->color();
        // A QColor has 16 bits per component.
        const double step = 1.0 / 65535;
        QVERIFY(qAbs(double(colour.redF()) - red) <= step);
        QVERIFY(qAbs(double(colour.greenF()) - green) <= step);
        QVERIFY(qAbs(double(colour.blueF()) - blue) <= step);
        QCOMPARE(colour.alphaF(), 1.0f);
    }

    void presetsStandInThePickersOrder()
    {
        QStringList names;
        for (const MeterAccent& accent : MeterAccent::presets())
            names.append(accent.rawValue());
        QCOMPARE(names, QStringLiteral("signal blue indigo purple teal pine amber graphite").split(u' '));
    }

    void customTextsAreRead_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("rewritten");
        QTest::newRow("plain") << "custom:srgb:0.1000,0.2000,0.3000"
                               << "custom:srgb:0.1000,0.2000,0.3000";
        QTest::newRow("clamped") << "custom:srgb:1.5,-2,0.25"
                                 << "custom:srgb:1.0000,0.0000,0.2500";
        QTest::newRow("a word is passed over") << "custom:srgb:0.1,x,0.2,0.3"
                                               << "custom:srgb:0.1000,0.2000,0.3000";
        QTest::newRow("an empty piece is passed over") << "custom:srgb:,0.1,0.2,0.3"
                                                       << "custom:srgb:0.1000,0.2000,0.3000";
        QTest::newRow("minus zero") << "custom:srgb:-0,0,1"
                                    << "custom:srgb:0.0000,0.0000,1.0000";
        QTest::newRow("a blank makes a word") << "custom:srgb:0.1, 0.9,0.2,0.3"
                                              << "custom:srgb:0.1000,0.2000,0.3000";
        QTest::newRow("too small to be told from 0") << "custom:srgb:1e-999,0.2,0.3"
                                                     << "custom:srgb:0.0000,0.2000,0.3000";
        QTest::newRow("what lies between takes the even digit") << "custom:srgb:0.03125,0.15625,0.09375"
                                                                << "custom:srgb:0.0312,0.1562,0.0938";
        QTest::newRow("exponents") << "custom:srgb:1e-1,2E-1,0.3"
                                   << "custom:srgb:0.1000,0.2000,0.3000";
    }

    void customTextsAreRead()
    {
        QFETCH(QString, text);
        QFETCH(QString, rewritten);
        const auto accent = MeterAccent::fromRawValue(text);
        QVERIFY(accent);
        QVERIFY(accent->isCustom());
        QCOMPARE(accent->rawValue(), rewritten);
    }

    void otherTextsAreNoAccent_data()
    {
        QTest::addColumn<QString>("text");
        for (const char* text :
            { "", "Signal", "signal ", " signal", "custom", "Custom", "custom:srgb:", "custom:srgb:0.1,0.2",
                "custom:srgb:0.1,0.2,0.3,0.4", "custom:srgb:nan,0,0", "custom:srgb:inf,0,0",
                "custom:srgb:1e999,0.1,0.2", "custom:srgb:1e999,0.1,0.2,0.3", "custom:srgb:0.9, 0.1,0.2",
                "custom:srgb:nan,0.1,0.2,0.3", "custom:srgb:0,-inf,0", "Custom:srgb:0.1,0.2,0.3",
                "custom:SRGB:0.1,0.2,0.3", " custom:srgb:0.1,0.2,0.3", "nonsense" })
            QTest::newRow(*text ? text : "empty") << QString::fromLatin1(text);
    }

    void otherTextsAreNoAccent()
    {
        QFETCH(QString, text);
        QVERIFY(!MeterAccent::fromRawValue(text));
    }

    void customTextHasFourDecimals()
    {
        QCOMPARE(MeterAccent::custom(QColor::fromRgbF(0.1f, 0.2f, 0.3f)).rawValue(),
            QStringLiteral("custom:srgb:0.1000,0.2000,0.3000"));
    }

    void pickedColourIsClampedAndRounded_data()
    {
        QTest::addColumn<QColor>("colour");
        QTest::addColumn<QString>("text");
        // A component above 1 or below 0 makes the QColor an extended one.
        QTest::newRow("out of range")
            << QColor::fromRgbF(1.5f, -0.5f, 0.25f) << "custom:srgb:1.0000,0.0000,0.2500";
        // In an extended QColor, these components are exact halves of a ten-thousandth.
        QTest::newRow("halves go up")
            << QColor::fromRgbF(1.5f, 0.03125f, 0.09375f) << "custom:srgb:1.0000,0.0313,0.0938";
        QTest::newRow("8 bits") << QColor(1, 128, 254) << "custom:srgb:0.0039,0.5020,0.9961";
        QTest::newRow("another model")
            << QColor::fromHsv(120, 255, 255) << "custom:srgb:0.0000,1.0000,0.0000";
        QTest::newRow("alpha is dropped") << QColor(255, 0, 0, 10) << "custom:srgb:1.0000,0.0000,0.0000";
    }

    void pickedColourIsClampedAndRounded()
    {
        QFETCH(QColor, colour);
        QFETCH(QString, text);
        QCOMPARE(MeterAccent::custom(colour).rawValue(), text);
    }

    void pickedColourReadsBackEqual()
    {
        for (int value = 0; value < 256; ++value) {
            const MeterAccent picked = MeterAccent::custom(QColor(value, 255 - value, value / 2));
            const auto read = MeterAccent::fromRawValue(picked.rawValue());
            QVERIFY(read);
            QVERIFY(*read == picked);
            QCOMPARE(read->color(), picked.color());
            // Picking the colour that was read back gives the same text.
            QCOMPARE(MeterAccent::custom(read->color()).rawValue(), picked.rawValue());
        }
    }

    void colourWithoutSrgbFormIsSignal()
    {
        QCOMPARE(MeterAccent::custom(QColor()).rawValue(), QStringLiteral("signal"));
    }

    void accentsAreEqualWhenTheirTextsAre()
    {
        const auto one = MeterAccent::fromRawValue(u"custom:srgb:0.10001,0.2,0.3");
        const auto other = MeterAccent::fromRawValue(u"custom:srgb:0.1,0.20002,0.3");
        const auto third = MeterAccent::fromRawValue(u"custom:srgb:0.1001,0.2,0.3");
        QVERIFY(*one == *other);
        QVERIFY(!(*one == *third));
        QVERIFY(MeterAccent(MeterAccent::Name::teal) == *MeterAccent::fromRawValue(u"teal"));
    }

    void titlesAreInTheInterfaceLanguage()
    {
        QCOMPARE(title(MeterAccent::custom(Qt::red)), QStringLiteral("Custom"));
        const TestBundle bundle("{ CFBundleDevelopmentRegion = en; }", { "en", "de" });
        bundle.writeTable("de", "Custom = \"Eigene\"; Pine = \"Tanne\";");
        setSession("KESTRUM_LANGUAGE=de");
        QCOMPARE(title(MeterAccent::custom(Qt::red)), QStringLiteral("Eigene"));
        QCOMPARE(title(MeterAccent(MeterAccent::Name::pine)), QStringLiteral("Tanne"));
        QCOMPARE(
            title(MeterAccent(MeterAccent::Name::blue)), QStringLiteral("Blue")); // has no translation here
        setSession({});
    }
};

KESTRUM_TEST_MAIN(QGuiApplication, MeterAccentTest)
#include "MeterAccentTest.moc"
