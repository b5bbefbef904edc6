#include "KestrumShared/Vocabulary/MeterAccent.h"
#include "KestrumShared/Text/Title.h"
#include "tests/Support/Rows.h"
#include "tests/Support/TestBundle.h"
#include "tests/Support/TestHome.h"
#include "tests/Support/TestSession.h"
#include "tests/Support/Text.h"

#include <QGuiApplication>

using namespace kestrum;

class MeterAccentTest : public QObject {
    Q_OBJECT

    struct Preset {
        const char* name;
        const char* title;
        double red, green, blue;
    };
    struct Custom {
        const char* name;
        const char* text;
        const char* rewritten;
    };
    struct Picked {
        const char* name;
        QColor colour;
        const char* text;
    };

private Q_SLOTS:
    void everyPresetHasItsNameTitleAndColour_data()
    {
        addRows<Preset>({ { "signal", "Signal", 0.27, 0.72, 0.60 }, { "blue", "Blue", 0.28, 0.56, 0.92 },
            { "indigo", "Indigo", 0.42, 0.42, 0.95 }, { "purple", "Purple", 0.58, 0.46, 0.92 },
            { "teal", "Teal", 0.22, 0.66, 0.78 }, { "pine", "Pine", 0.14, 0.47, 0.40 },
            { "amber", "Amber", 0.90, 0.68, 0.26 }, { "graphite", "Graphite", 0.64, 0.66, 0.70 } });
    }
    void everyPresetHasItsNameTitleAndColour()
    {
        QFETCH(Preset, row);
        const auto accent = MeterAccent::fromRawValue(text(row.name));
        QVERIFY(accent);
        QCOMPARE(accent->rawValue(), text(row.name));
        QCOMPARE(title(*accent), text(row.title));
        QVERIFY(!accent->isCustom());
        const QColor colour = accent->color();
        // A QColor has 16 bits per component.
        const double step = 1.0 / 65535;
        QVERIFY(qAbs(double(colour.redF()) - row.red) <= step);
        QVERIFY(qAbs(double(colour.greenF()) - row.green) <= step);
        QVERIFY(qAbs(double(colour.blueF()) - row.blue) <= step);
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
        addRows<Custom>({
            { "plain", "0.1000,0.2000,0.3000", "0.1000,0.2000,0.3000" },
            { "clamped", "1.5,-2,0.25", "1.0000,0.0000,0.2500" },
            { "a word is passed over", "0.1,x,0.2,0.3", "0.1000,0.2000,0.3000" },
            { "an empty piece is passed over", ",0.1,0.2,0.3", "0.1000,0.2000,0.3000" },
            { "minus zero", "-0,0,1", "0.0000,0.0000,1.0000" },
            { "a blank makes a word", "0.1, 0.9,0.2,0.3", "0.1000,0.2000,0.3000" },
            { "too small to be told from 0", "1e-999,0.2,0.3", "0.0000,0.2000,0.3000" },
            { "what lies between takes the even digit", "0.03125,0.15625,0.09375", "0.0312,0.1562,0.0938" },
            { "exponents", "1e-1,2E-1,0.3", "0.1000,0.2000,0.3000" },
        });
    }
    void customTextsAreRead()
    {
        QFETCH(Custom, row);
        const auto accent = MeterAccent::fromRawValue(text("custom:srgb:") + text(row.text));
        QVERIFY(accent);
        QVERIFY(accent->isCustom());
        QCOMPARE(accent->rawValue(), text("custom:srgb:") + text(row.rewritten));
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

    void pickedColourIsClampedAndRounded_data()
    {
        addRows<Picked>({
            { "four decimals", QColor::fromRgbF(0.1f, 0.2f, 0.3f), "custom:srgb:0.1000,0.2000,0.3000" },
            // A component above 1 or below 0 makes the QColor an extended one.
            { "out of range", QColor::fromRgbF(1.5f, -0.5f, 0.25f), "custom:srgb:1.0000,0.0000,0.2500" },
            // In an extended QColor, these components are exact halves of a ten-thousandth.
            { "halves go up", QColor::fromRgbF(1.5f, 0.03125f, 0.09375f),
                "custom:srgb:1.0000,0.0313,0.0938" },
            { "8 bits", QColor(1, 128, 254), "custom:srgb:0.0039,0.5020,0.9961" },
            { "another model", QColor::fromHsv(120, 255, 255), "custom:srgb:0.0000,1.0000,0.0000" },
            { "alpha is dropped", QColor(255, 0, 0, 10), "custom:srgb:1.0000,0.0000,0.0000" },
            { "without an sRGB form", QColor(), "signal" },
        });
    }
    void pickedColourIsClampedAndRounded()
    {
        QFETCH(Picked, row);
        QCOMPARE(MeterAccent::custom(row.colour).rawValue(), text(row.text));
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
