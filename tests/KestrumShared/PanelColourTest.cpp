#include "KestrumShared/Popover/PanelEnvironment.h"
#include "KestrumShared/Popover/PopoverSurface.h"
#include "KestrumShared/Raster/Contrast.h"
#include "KestrumShared/Raster/HeatColour.h"
#include "KestrumShared/Vocabulary/MeterAccent.h"
#include "tests/Support/PanelPixels.h"
#include "tests/Support/TestHome.h"

#include <QTest>
#include <functional>

using namespace kestrum;

class PanelColourTest : public QObject {
    Q_OBJECT

    static void everywhere(const std::function<void(const PanelEnvironment&)>& test)
    {
        PanelEnvironment environment;
        for (const ColourScheme scheme : { ColourScheme::light, ColourScheme::dark }) {
            for (const PopoverBackground background :
                { PopoverBackground::translucent, PopoverBackground::opaque }) {
                environment.scheme = scheme;
                environment.background = background;
                test(environment);
            }
        }
    }

private Q_SLOTS:
    void contrastIsMeasuredAsTheGuidelinesDo()
    {
        QCOMPARE(Contrast::ratio(Qt::white, Qt::black), 21.0);
        QCOMPARE(Contrast::ratio(Qt::red, Qt::red), 1.0);
        // A known pair: the lightest grey with a contrast of 4.5 on white.
        QVERIFY(std::abs(Contrast::ratio(QColor(0x767676), Qt::white) - 4.54) < 0.01);
        QCOMPARE(Contrast::ratio(QColor(0, 0, 0, 0), Qt::white), 1.0);
    }

    void theGroundIsTheSurfaceOverItsWorstBackground()
    {
        everywhere([](const PanelEnvironment& environment) {
            double worst = 21;
            for (const QColor& behind : { QColor(Qt::black), QColor(Qt::white), QColor(40, 50, 140) }) {
                const PanelPixels pixels(
                    { 40, 40 },
                    [&](QPainter& painter) {
                        PopoverSurface { environment.background, false }.draw(
                            painter, QRectF(0, 0, 40, 40), 12, environment);
                    },
                    behind);
                worst = std::min(worst, Contrast::ratio(environment.textColour(), pixels.at(20, 20)));
                if (behind == (environment.scheme == ColourScheme::dark ? Qt::white : Qt::black))
                    QVERIFY_COLOUR(pixels.at(20, 20), environment.ground());
            }
            QVERIFY(Contrast::ratio(environment.textColour(), environment.ground()) <= worst + 0.1);
        });
    }

    void everyAccentIsSeenOnEveryGround()
    {
        QList<MeterAccent> accents = MeterAccent::presets();
        for (const QColor& colour :
            { QColor(Qt::white), QColor(Qt::black), QColor(Qt::gray), QColor(Qt::yellow), QColor(Qt::blue) })
            accents.append(MeterAccent::custom(colour));
        everywhere([&](const PanelEnvironment& environment) {
            for (const MeterAccent& accent : accents) {
                const QColor shown = environment.readable(accent.color());
                QVERIFY2(Contrast::ratio(shown, environment.ground()) >= 3, qPrintable(accent.rawValue()));
                QCOMPARE(environment.readable(shown), shown);
            }
        });
    }

    void warningsAreReadableOnEveryGround()
    {
        everywhere([](const PanelEnvironment& environment) {
            const QColor amber = MeterAccent(MeterAccent::Name::amber).color();
            for (const QColor& colour : { amber, QColor(0xE0, 0x3C, 0x31),
                     HeatColour::of(90, environment.scheme), HeatColour::of(99, environment.scheme) })
                QVERIFY(Contrast::ratio(environment.readable(colour, 4.5), environment.ground()) >= 4.5);
        });
    }

    void textsAreReadableOnEveryGround()
    {
        everywhere([](const PanelEnvironment& environment) {
            QVERIFY(Contrast::ratio(environment.textColour(), environment.ground()) >= 10);
            QVERIFY(Contrast::ratio(environment.secondaryTextColour(), environment.ground()) >= 5);
        });
    }

    void aColourIsChangedNoMoreThanNecessary()
    {
        PanelEnvironment environment;
        environment.scheme = ColourScheme::light;
        QCOMPARE(environment.readable(Qt::black), QColor(Qt::black));
        const QColor signal = MeterAccent(MeterAccent::Name::signal).color();
        const QColor shown = environment.readable(signal);
        QVERIFY(shown != signal);
        QVERIFY(Contrast::ratio(shown, environment.ground()) < 3.1);
        QVERIFY(std::abs(shown.hsvHueF() - signal.hsvHueF()) < 0.01F);
        QColor translucent = signal;
        translucent.setAlphaF(0.9F);
        QCOMPARE(environment.readable(translucent, 2).alphaF(), translucent.alphaF());
    }

    void whereNoColourIsEnoughTheFarthestIsTaken()
    {
        PanelEnvironment environment;
        environment.scheme = ColourScheme::light;
        QCOMPARE(environment.readable(Qt::yellow, 21), QColor(Qt::black));
        environment.scheme = ColourScheme::dark;
        QCOMPARE(environment.readable(Qt::blue, 21), QColor(Qt::white));
    }
};

KESTRUM_TEST_MAIN(QGuiApplication, PanelColourTest)
#include "PanelColourTest.moc"
