// SPDX-License-Identifier: MIT
#include "KestrumShared/Items/StripScene.h"
#include "KestrumShared/Items/StripBackground.h"
#include "KestrumShared/Settings/Setting.h"
#include "tests/Support/DrawingFixture.h"
#include "tests/Support/TestBundle.h"
#include "tests/Support/TestHome.h"

using namespace kestrum;
using enum MonitorSection;

/// A strip without a widget: its requests to be painted again, its painting, and its description.
class StripSceneTest : public QObject {
    Q_OBJECT

    using Sections = QList<MonitorSection>;
    using DragLook = StripScene::DragLook;

    /// A scene in the default order, with the areas that it asked to paint again. Positions are those of `StripItems`.
    struct Scene {
        std::shared_ptr<FakeReadings> readings = std::make_shared<FakeReadings>();
        StripScene scene { readings, QSize(7, 3) };
        QList<QRectF> areas;

        Scene()
        {
            scene.rebuild(Appearance::current());
            QObject::connect(
                &scene, &StripScene::changed, [this](const QRectF& area) { areas.append(area); });
        }
        const StripScene::Item& item(MonitorSection section) const { return *scene.items().item(section); }
        QRectF frame(MonitorSection section) const { return item(section).view->frame(); }
        QRectF ground(MonitorSection section) const { return scene.ground(item(section)); }
        static QPointF at(double x) { return { x + 7, 14 }; }
        void grab(MonitorSection section)
        {
            const QPointF middle = at(frame(section).center().x());
            scene.grab(
                QMouseEvent(QEvent::MouseButtonPress, middle, middle, Qt::LeftButton, Qt::LeftButton, {}));
            areas.clear();
        }
        /// Moves the pointer `points` away from the middle of the item, where `grab` put the pointer.
        void drag(MonitorSection section, double points)
        {
            scene.drag(at(frame(section).center().x() + points));
        }
        /// The picture below the items.
        QImage background(DragLook look)
        {
            return painted([&](QPainter& painter) {
                scene.paint(painter, ColourScheme::light, look, [](const auto&, const QPointF&) {});
            });
        }
        template <class Paint> QImage painted(Paint paint) const
        {
            QImage image(scene.size(), QImage::Format_ARGB32_Premultiplied);
            image.fill(Qt::transparent);
            QPainter painter(&image);
            paint(painter);
            painter.end();
            return image;
        }
    };

private Q_SLOTS:
    void init() { QVERIFY2(DrawingFixture::prepare(), DrawingFixture::noFont); }

    void theRoomLiesAroundTheItems()
    {
        const Scene strip;
        QCOMPARE(strip.scene.size(), QSize(int(std::ceil(strip.scene.items().size().width())) + 14, 22 + 6));
        QCOMPARE(strip.scene.stripPoint({ 7, 3 }), QPointF(0, 22));
        QCOMPARE(strip.scene.widgetRect(QRectF(10, 0, 30, 22)), QRectF(17, 3, 30, 22));
    }

    void anItemIsPaintedAgainWhenThePointerComesAndGoes()
    {
        Scene strip;
        strip.scene.hover(strip.at(strip.frame(memory).center().x()));
        QCOMPARE(strip.areas, QList { strip.ground(memory) });
        strip.scene.hover(strip.at(strip.frame(memory).center().x() + 1));
        QCOMPARE(strip.areas.size(), 1);
        strip.scene.hover(strip.at(strip.frame(cpu).center().x()));
        QCOMPARE(strip.areas.mid(1), (QList { strip.ground(memory), strip.ground(cpu) }));
        strip.scene.leave();
        QCOMPARE(strip.areas.mid(3), QList { strip.ground(cpu) });
    }

    void aDragPaintsAgainWhatMoves()
    {
        Scene strip;
        const QRectF sensorsBefore = strip.ground(sensors);
        const QRectF memoryBefore = strip.ground(memory);
        strip.grab(sensors);
        strip.scene.hover(strip.at(strip.frame(cpu).center().x()));
        strip.scene.leave();
        QCOMPARE(strip.scene.hovered(), sensors);
        QVERIFY(strip.areas.isEmpty());
        strip.drag(sensors, strip.frame(memory).width());
        QCOMPARE(strip.scene.items().sections(), (Sections { storage, memory, sensors, cpu }));
        QCOMPARE(strip.areas,
            (QList { memoryBefore | strip.ground(memory), sensorsBefore | strip.ground(sensors) }));
    }

    void theDraggedItemIsDrawnOnceAndAboveTheOthers()
    {
        Scene strip;
        strip.grab(sensors);
        for (const DragLook look : { DragLook::backdrop, DragLook::lifted }) {
            Sections drawn;
            strip.painted([&](QPainter& painter) {
                strip.scene.paint(painter, ColourScheme::light, look,
                    [&drawn](const StripScene::Item& item, const QPointF&) { drawn.append(item.section); });
            });
            QCOMPARE(drawn, (Sections { storage, memory, cpu, sensors }));
        }
    }

    void theDraggedItemHasABackdropOrIsLifted()
    {
        Scene strip;
        strip.grab(sensors);
        QCOMPARE(strip.background(DragLook::backdrop), strip.painted([&](QPainter& painter) {
            StripBackground::drawBackdrop(painter, strip.ground(sensors), ColourScheme::light);
        }));
        QCOMPARE(strip.background(DragLook::lifted), strip.painted([&](QPainter& painter) {
            StripBackground::drawLifted(painter, strip.ground(sensors), ColourScheme::light);
        }));
    }

    void aDragGoesOnWithTheItemThatARebuildMade()
    {
        Scene strip;
        strip.grab(sensors);
        strip.drag(sensors, 2);
        const double left = strip.frame(sensors).left();
        strip.scene.rebuild(Appearance::current());
        QCOMPARE(strip.frame(sensors).left(), left);
        strip.drag(sensors, 3);
        QCOMPARE(strip.frame(sensors).left(), left + 3);
    }

    void theFirstItemTakesThePartOfADraggedOneThatIsHidden()
    {
        Scene strip;
        const double width = strip.frame(cpu).width();
        strip.grab(cpu);
        QVERIFY(Setting(Keys::showCPUItem).set(false));
        strip.scene.rebuild(Appearance::current());
        // The dragged item reaches beyond the middles of both neighbours. It passes neighbours in one direction only.
        const double right = strip.frame(sensors).center().x() + 1;
        QVERIFY(right - width < strip.frame(storage).center().x());
        strip.scene.drag(strip.at(right - width / 2));
        QCOMPARE(strip.scene.items().sections(), (Sections { sensors, storage, memory }));
        strip.scene.drag(strip.at(5000));
        QCOMPARE(strip.scene.items().sections(), (Sections { storage, memory, sensors }));
    }

    void aPictureIsTwoPointsWiderThanItsItem()
    {
        const Scene strip;
        const QImage picture
            = StripScene::picture(strip.item(memory), ColourScheme::light, 2, Appearance::current());
        QCOMPARE(picture.size(), QSize(int(std::ceil((strip.frame(memory).width() + 2) * 2)), 44));
        QCOMPARE(picture.devicePixelRatio(), 2.0);
    }

    void theSummaryHasALineForEachItem()
    {
        QCOMPARE(Scene().scene.summary(),
            QStringLiteral(
                "Disk — Usage: 50%\nSensors — Power: 24W\nMemory — Usage: 50%\nCPU — Temperature: 48°"));
    }

    void itemsSpeakTheInterfaceLanguage()
    {
        const TestBundle bundle("{ CFBundleDevelopmentRegion = en; }", { "en", "de" });
        bundle.writeTable(
            "de", R"("CPU" = "Kern"; "Memory" = "Speicher"; "Disk" = "Platte"; "Sensors" = "Fühler";
            "Usage" = "Last"; "Fan" = "Lüfter"; "%@ rpm" = "%@ U/min"; "%@ — %@: %@" = "%@, %@ %@";
            "no sensor for this" = "kein Fühler";)");
        Setting(Keys::sensorsReadout).set(SensorsReadout::fan);
        Setting(Keys::cpuReadout).set(CPUReadout::usage);
        Scene strip;
        qputenv("KESTRUM_LANGUAGE", "de");
        const QString spoken = strip.scene.summary();
        strip.readings->fan.reset();
        const QString absent = strip.scene.text(sensors);
        qunsetenv("KESTRUM_LANGUAGE");
        QCOMPARE(spoken,
            QStringLiteral(
                "Platte, Last 50%\nFühler, Lüfter 1240 U/min\nSpeicher, Last 50%\nKern, Last 50%"));
        QCOMPARE(absent, QStringLiteral("Fühler, Lüfter kein Fühler"));
    }
};

KESTRUM_TEST_MAIN(QGuiApplication, StripSceneTest)
#include "StripSceneTest.moc"
