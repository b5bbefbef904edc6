#include "KestrumShared/Popover/PopoverFrame.h"
#include "KestrumShared/Popover/PopoverPanel.h"
#include "tests/Support/FreshSettings.h"
#include "tests/Support/Kestrumctl.h"
#include "tests/Support/PanelFixture.h"
#include "tests/Support/Pixels.h"
#include "tests/Support/TestHome.h"
#include "tests/Support/Text.h"

#include <QGuiApplication>
#include <QImageReader>
#include <cmath>

using namespace kestrum;

namespace {

constexpr const char* popovers[] = { "popover-cpu", "popover-memory", "popover-storage", "popover-sensors" };

/// The picture that `kestrumctl render` draws; null if it fails.
QImage popover(const QByteArray& what)
{
    const QString path = TestHome::root() + QStringLiteral("/popover.png");
    QFile::remove(path);
    if (const auto result = ctl("render -o", QStringList(path) + words(what)); result != done())
        qWarning("%d %s", result.code, result.errors.constData());
    QImageReader reader(path);
    return reader.format() == "png" ? reader.read().convertToFormat(QImage::Format_ARGB32) : QImage();
}

} // namespace

class KestrumctlPopoverTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { registerFactoryDefaults(); }
    void init() { forgetSettings(); }

    void aPictureHasThePopoversSizeAndItsShadows_data()
    {
        QTest::addColumn<QByteArray>("what");
        QTest::addColumn<double>("scale");
        for (const char* what : popovers)
            QTest::addRow("%s", what) << QByteArray(what) << 1.0;
        for (const double scale : { 1.25, 2.0 })
            QTest::addRow("at %g", scale) << QByteArray("popover-cpu") << scale;
    }
    void aPictureHasThePopoversSizeAndItsShadows()
    {
        QFETCH(const QByteArray, what);
        QFETCH(const double, scale);
        const QImage image = popover(what + " --scale " + QByteArray::number(scale));
        const QMarginsF margins = PopoverFrame { true }.margins();
        QCOMPARE(
            image.width(), int(std::ceil((PopoverPanel::width + margins.left() + margins.right()) * scale)));
        const double height = image.height() / scale - margins.top() - margins.bottom();
        QVERIFY2(height > 440 && height < 520, QByteArray::number(height).constData());
        QCOMPARE(image.pixelColor(0, 0).alpha(), 0);
        // The surface is almost opaque, and the shadow beside it is not.
        const int middle = image.height() / 2;
        QVERIFY(image.pixelColor(int((margins.left() + 4) * scale), middle).alpha() > 200);
        const int shadow = image.pixelColor(int((margins.left() - 4) * scale), middle).alpha();
        QVERIFY2(shadow > 0 && shadow < 100, QByteArray::number(shadow).constData());
    }

    void anOpaquePopoverHasNoShadow()
    {
        SharedSettings::store().set(Keys::popoverBackground.name, text("opaque"));
        const QImage image = popover("popover-cpu");
        QCOMPARE(image.width(), int(PopoverPanel::width));
        QCOMPARE(image.pixelColor(image.width() / 2, image.height() - 8).alpha(), 255);
        QCOMPARE(image.pixelColor(0, 0).alpha(), 0);
    }

    void theAppearanceIsTheGroundsColour()
    {
        const auto ground = [](const char* options) {
            const QImage image = popover(QByteArray("popover-memory ") + options);
            return image.pixelColor(image.width() / 2, image.height() - 40).lightnessF();
        };
        QVERIFY(ground("") > 0.7F);
        QVERIFY(ground("--appearance light") > 0.7F);
        QVERIFY(ground("--appearance dark") < 0.3F);
    }

    void theDirectionChangesSides()
    {
        // The section's symbol at the leading edge of the header is blue; at the trailing edge there is none.
        const auto blueSide = [](const char* options) {
            const QImage image = popover(QByteArray("popover-cpu --scale 2 ") + options);
            const QImage header = image.copy(0, 0, image.width(), 2 * (16 + 38));
            const QRect blue = areaOf(header,
                [](const QColor& pixel) { return pixel.blue() > pixel.red() + 80 && pixel.alpha() > 200; });
            return blue.isNull()                        ? text("none")
                : blue.center().x() < image.width() / 2 ? text("left")
                                                        : text("right");
        };
        QCOMPARE(blueSide(""), text("left"));
        QCOMPARE(blueSide("--direction ltr"), text("left"));
        QCOMPARE(blueSide("--direction rtl"), text("right"));
    }

    void theDirectionIsThatOfTheLanguage()
    {
        SharedSettings::store().set(Keys::language.name, text("ar"));
        QCOMPARE(popover("popover-sensors"), popover("popover-sensors --direction rtl"));
        QVERIFY(popover("popover-sensors") != popover("popover-sensors --direction ltr"));
    }

    void eachPopoverIsItsOwnAndHasFewerRowsOnAPoorMachine()
    {
        QList<QImage> images;
        for (const char* what : popovers) {
            const QImage image = popover(what);
            QVERIFY2(!images.contains(image), what);
            images.append(image);
            QVERIFY2(popover(QByteArray(what) + " --poor").height() < image.height() - 20, what);
        }
    }

    void coresAreThoseOfTheOption()
    {
        const QImage sixteen = popover("popover-cpu");
        QCOMPARE(popover("popover-cpu --cores 8,8"), sixteen);
        QVERIFY(popover("popover-cpu --cores 8,4,4") != sixteen);
        // More than 55 cores take several rows.
        QVERIFY(popover("popover-cpu --cores 128").height() > popover("popover-cpu --cores 16").height());
        QVERIFY(popover("popover-cpu --poor --cores 4") != popover("popover-cpu --poor"));
    }

    void aPopoverFollowsTheSettingsInEffect()
    {
        const QImage before = popover("popover-sensors");
        QCOMPARE(popover("popover-sensors"), before);
        SharedSettings::store().set(Keys::temperatureUnit.name, text("fahrenheit"));
        const QImage warmer = popover("popover-sensors");
        QVERIFY(warmer != before);
        SharedSettings::store().set(Keys::cpuAccent.name, text("purple"));
        QVERIFY(popover("popover-sensors") != warmer);
    }
};

KESTRUM_TEST_MAIN(QGuiApplication, KestrumctlPopoverTest)
#include "KestrumctlPopoverTest.moc"
