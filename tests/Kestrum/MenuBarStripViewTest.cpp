#include "KestrumShared/Settings/MeterSettings.h"
#include "tests/Support/StripWindow.h"
#include "tests/Support/TestHome.h"

#include <QSignalSpy>

using namespace kestrum;

using Sections = StripWindow::Sections;
using enum MonitorSection;

class MenuBarStripViewTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase() { registerFactoryDefaults(); }
    void init() { StripWindow::prepare(); }

    // Building

    void itemsStandEightPointsApartInTheStoredOrder()
    {
        StripWindow w;
        QCOMPARE(w.sections(), Sections({ storage, sensors, memory, cpu }));
        QVERIFY(w.standsOnGrid());
        double width = 3 * 8;
        for (const auto& item : w.strip.items()) {
            QCOMPARE(item.view->frame().width(), StatusMetricView::itemWidth(item.section));
            QCOMPARE(item.view->frame().height(), 22.0);
            QCOMPARE(item.view->frame().top(), 0.0);
            width += item.view->frame().width();
        }
        QCOMPARE(w.strip.intrinsicContentSize(), QSizeF(width, 22));
    }

    void hiddenItemsTakeNoRoom()
    {
        Setting { Keys::showSensorsItem }.set(false);
        StripWindow w;
        QCOMPARE(w.sections(), Sections({ storage, memory, cpu }));
        QVERIFY(w.standsOnGrid());
    }

    void onlyAStoredFalseHides_data()
    {
        QTest::addColumn<QJsonValue>("stored");
        QTest::addColumn<bool>("isShown");
        QTest::newRow("absent") << QJsonValue(QJsonValue::Undefined) << true;
        QTest::newRow("true") << QJsonValue(true) << true;
        QTest::newRow("false") << QJsonValue(false) << false;
        QTest::newRow("a text") << QJsonValue(QStringLiteral("false")) << true;
    }

    void onlyAStoredFalseHides()
    {
        QFETCH(QJsonValue, stored);
        if (!stored.isUndefined())
            SharedSettings::store().set("showCPUItem", stored);
        StripWindow w;
        QTEST(w.strip.item(cpu) != nullptr, "isShown");
    }

    void anEmptyOrderGivesNoItemsAndNoWidth()
    {
        StripWindow w;
        w.strip.rebuild(Sections());
        QVERIFY(w.strip.items().isEmpty());
        QCOMPARE(w.strip.intrinsicContentSize(), QSizeF(0, 22));
        QVERIFY(!w.picture().isNull());
        w.show();
        w.press(0);
        w.drag(5);
        w.release(5);
        QVERIFY(!w.strip.dragged());
        QTest::keyClick(&w.strip, Qt::Key_Right, Qt::AltModifier);
        QCOMPARE(storedText("menuBarOrder"), QString());
    }

    void anOrderThatNamesNothingIsCompleted()
    {
        Setting { Keys::menuBarOrder }.set(QStringLiteral("?,,x"));
        StripWindow w;
        QCOMPARE(w.sections(), Sections({ sensors, storage, memory, cpu }));
    }

    void withAllItemsHiddenTheStoredOrderStaysAsItIs()
    {
        Setting { Keys::menuBarOrder }.set(QStringLiteral("cpu,bogus"));
        for (const auto& entry : allCases<MonitorSection>())
            Setting { MeterSettings::visibilityKey(entry.value) }.set(false);
        StripWindow w;
        w.show();
        w.press(3);
        w.release(3);
        QVERIFY(w.strip.items().isEmpty());
        QCOMPARE(w.strip.intrinsicContentSize().width(), 0.0);
        QCOMPARE(storedText("menuBarOrder"), QStringLiteral("cpu,bogus"));
    }

    // Rebuilding

    void everyChangeOfTheSettingsRebuilds()
    {
        StripWindow w;
        Setting { Keys::menuBarOrder }.set(QStringLiteral("cpu,memory,sensors,storage"));
        QTRY_COMPARE(w.sections(), Sections({ cpu, memory, sensors, storage }));
        Setting { Keys::showMemoryItem }.set(false);
        QTRY_COMPARE(w.sections(), Sections({ cpu, sensors, storage }));
        const double width = w.frame(cpu).width();
        Setting { Keys::cpuReadout }.set(CPUReadout::off);
        QTRY_VERIFY(w.frame(cpu).width() < width);
        QSignalSpy rebuilt(&w.strip, &MenuBarStripView::rebuilt);
        SharedSettings::store().set("somethingElse", 1);
        QTRY_COMPARE(rebuilt.count(), 1);
    }

    void theAgentsSignalRebuilds()
    {
        StripWindow w;
        QSignalSpy rebuilt(&w.strip, &MenuBarStripView::rebuilt);
        SharedSettings::post(SharedSettings::Signal::menuBarChanged);
        QTRY_COMPARE(rebuilt.count(), 1);
    }

    // Drawing

    void itemsAreAsSharpAsWhenDrawnAlone_data()
    {
        QTest::addColumn<double>("scale");
        QTest::newRow("1") << 1.0;
        QTest::newRow("2") << 2.0;
        QTest::newRow("1.5") << 1.5;
    }

    void itemsAreAsSharpAsWhenDrawnAlone()
    {
        QFETCH(double, scale);
        StripWindow w;
        const QImage strip = w.picture(scale);
        for (const auto& item : w.strip.items()) {
            const QRectF frame = w.strip.widgetRect(item.view->frame());
            QImage alone(strip.size(), QImage::Format_ARGB32_Premultiplied);
            alone.setDevicePixelRatio(scale);
            alone.fill(Qt::transparent);
            QPainter painter(&alone);
            const double top = frame.top();
            item.view->draw(painter, QPointF(0, top), ColourScheme::light, scale);
            painter.end();
            // Whole columns of the item: a move by whole pixels must shift them unchanged.
            const int width = int(frame.width() * scale) - 1;
            const int left = qRound(frame.left() * scale);
            QCOMPARE(strip.copy(left, 0, width, strip.height()), alone.copy(0, 0, width, strip.height()));
        }
    }
};

KESTRUM_TEST_MAIN(QApplication, MenuBarStripViewTest)
#include "MenuBarStripViewTest.moc"
