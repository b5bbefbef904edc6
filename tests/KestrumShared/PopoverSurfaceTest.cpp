#include "KestrumShared/Popover/PopoverSurface.h"

#include "Kestrum/Form/Theme.h"
#include "KestrumShared/Popover/StablePopoverMaterial.h"
#include "KestrumShared/Raster/Contrast.h"
#include "KestrumShared/Settings/SharedSettings.h"
#include "tests/Support/PanelFixture.h"
#include "tests/Support/Rows.h"
#include "tests/Support/TestHome.h"
#include "tests/Support/Text.h"

#include <QGuiApplication>
#include <QJsonValue>
#include <QTest>
#include <initializer_list>

using namespace kestrum;
using PanelFixture::in;

namespace {

constexpr std::initializer_list<ColourScheme> schemes { ColourScheme::light, ColourScheme::dark };

PanelPixels drawn(const PopoverSurface& surface, ColourScheme scheme, const QColor& ground)
{
    return PanelPixels(
        { 40, 40 }, [&](QPainter& painter) { surface.draw(painter, QRectF(0, 0, 40, 40), 12, in(scheme)); },
        ground);
}

QColor colourOver(const QColor& ground, ColourScheme scheme, const PopoverSurface& surface = {})
{
    return drawn(surface, scheme, ground).at(20, 20);
}

} // namespace

class PopoverSurfaceTest : public QObject {
    Q_OBJECT

    struct Ground {
        const char* name;
        QJsonValue stored;
        bool isOpaque = false;
    };

private Q_SLOTS:
    void initTestCase() { registerFactoryDefaults(); }
    void init() { forgetSettings(); }

    void onlyTheTextOpaqueGivesTheOpaqueGround_data()
    {
        addRows<Ground>({ { "missing", QJsonValue::Undefined }, { "opaque", text("opaque"), true },
            { "translucent", text("translucent") }, { "capital", text("Opaque") },
            { "space", text("opaque ") }, { "empty", QString() }, { "another text", text("solid") },
            { "a number", 1 } });
    }
    void onlyTheTextOpaqueGivesTheOpaqueGround()
    {
        QFETCH(Ground, row);
        SharedSettings::store().set("popoverBackground", row.stored);
        for (const ColourScheme scheme : schemes)
            QCOMPARE(colourOver(Qt::white, scheme) == colourOver(Qt::black, scheme), row.isOpaque);
    }

    void theOpaqueGroundHasItsColourInEachScheme()
    {
        const PopoverSurface opaque { PopoverBackground::opaque };
        QCOMPARE(colourOver(Qt::red, ColourScheme::dark, opaque), QColor(31, 33, 36));
        QCOMPARE(colourOver(Qt::red, ColourScheme::light, opaque), QColor(199, 204, 209));
    }

    void theTranslucentGroundIsTheMaterialUnderSevenHundredthsOfBlack()
    {
        for (const ColourScheme scheme : schemes) {
            for (const bool isWithin : { true, false }) {
                const PopoverSurface surface { PopoverBackground::translucent, isWithin };
                for (const QColor& ground : { QColor(Qt::white), QColor(Qt::black), QColor(40, 50, 140) }) {
                    const QColor material = laidOver(StablePopoverMaterial { isWithin }.tint(scheme), ground);
                    const QColor expected = QColor::fromRgbF(
                        material.redF() * 0.93F, material.greenF() * 0.93F, material.blueF() * 0.93F);
                    QVERIFY_COLOUR(colourOver(ground, scheme, surface), expected);
                }
            }
        }
    }

    void theMaterialIsDarkInTheDarkSchemeOnly()
    {
        for (const bool isWithin : { true, false }) {
            const StablePopoverMaterial material { isWithin };
            QVERIFY(material.tint(ColourScheme::dark).lightnessF() < 0.2);
            QVERIFY(material.tint(ColourScheme::light).lightnessF() > 0.9);
        }
    }

    void lessShinesThroughFromBehindTheWindow()
    {
        const auto shining = [](ColourScheme scheme, bool isWithin) {
            const PopoverSurface surface { PopoverBackground::translucent, isWithin };
            return colourOver(Qt::white, scheme, surface).green()
                - colourOver(Qt::black, scheme, surface).green();
        };
        for (const ColourScheme scheme : schemes) {
            QVERIFY(shining(scheme, false) > 0);
            QVERIFY(shining(scheme, true) > 3 * shining(scheme, false));
        }
    }

    void aGivenGroundGoesBeforeTheStoredOne()
    {
        SharedSettings::store().set("popoverBackground", QStringLiteral("opaque"));
        const PopoverSurface translucent { PopoverBackground::translucent };
        QVERIFY(colourOver(Qt::white, ColourScheme::dark, translucent)
            != colourOver(Qt::black, ColourScheme::dark, translucent));
    }

    void theSettingIsReadAtEachDrawing()
    {
        const PopoverSurface surface;
        const QColor before = colourOver(Qt::white, ColourScheme::light, surface);
        SharedSettings::store().set("popoverBackground", QStringLiteral("opaque"));
        QCOMPARE(colourOver(Qt::white, ColourScheme::light, surface), QColor(199, 204, 209));
        SharedSettings::store().set("popoverBackground", QStringLiteral("translucent"));
        QCOMPARE(colourOver(Qt::white, ColourScheme::light, surface), before);
    }

    void cornersAreRounded()
    {
        for (const auto background : { PopoverBackground::opaque, PopoverBackground::translucent }) {
            const PanelPixels pixels = drawn({ background }, ColourScheme::dark, Qt::white);
            QCOMPARE(pixels.at(0, 0), QColor(Qt::white));
            QCOMPARE(pixels.at(3, 3), QColor(Qt::white));
            QCOMPARE(pixels.at(4.5, 4.5), pixels.at(20, 20));
            QCOMPARE(pixels.at(12, 0), pixels.at(20, 20));
            QCOMPARE(pixels.at(39.9, 20), pixels.at(20, 20));
        }
    }

    void textsCanBeReadOverWhateverIsBehind()
    {
        for (const ColourScheme scheme : schemes) {
            for (const Qt::GlobalColor ground : { Qt::white, Qt::black, Qt::red, Qt::green, Qt::blue,
                     Qt::yellow, Qt::cyan, Qt::magenta, Qt::gray }) {
                const QColor surface = colourOver(ground, scheme);
                for (const QColor& text :
                    { in(scheme).textColour(), in(scheme).secondaryTextColour(), in(scheme).headerColour() })
                    QVERIFY2(Contrast::ratio(text, surface) >= 4.5, qPrintable(surface.name() + text.name()));
            }
        }
    }

    void textsCanBeReadOnTheOpaqueGround()
    {
        for (const ColourScheme scheme : schemes) {
            const QColor surface = colourOver(Qt::white, scheme, { PopoverBackground::opaque });
            QVERIFY(Contrast::ratio(in(scheme).textColour(), surface) >= 4.5);
            QVERIFY(Contrast::ratio(in(scheme).secondaryTextColour(), surface) >= 4.5);
            // The header has semibold capitals and a symbol, which need less contrast than texts.
            QVERIFY(Contrast::ratio(in(scheme).headerColour(), surface) >= 3);
        }
    }
};

KESTRUM_TEST_MAIN(QGuiApplication, PopoverSurfaceTest)
#include "PopoverSurfaceTest.moc"
