// SPDX-License-Identifier: MIT
#include "KestrumAgent/Panel/PanelStrip.h"
#include "KestrumShared/Items/StripLayout.h"
#include "tests/Support/DrawingFixture.h"
#include "tests/Support/StripWindow.h"
#include "tests/Support/TestHome.h"

#include <dlfcn.h>
#include <pthread.h>

using namespace kestrum;

using enum MonitorSection;

namespace {

pthread_mutex_t* lastLocked = nullptr;
pthread_mutex_t* watched = nullptr;
int locks = 0;

/// The number of the store's look-ups in `function`: each locks the store's mutex once. No other thread locks it here.
template <class Function> int lookUps(Function function)
{
    SharedSettings::store().boolean("any");
    watched = lastLocked;
    locks = 0;
    function();
    watched = nullptr;
    return locks;
}

/// Readings that run a function in the middle of a drawing.
struct InterruptingReadings : FakeReadings {
    std::function<void()> interrupt = [] {};
    double storageUsage() const override
    {
        interrupt();
        return FakeReadings::storageUsage();
    }
};

void saveAnotherStyle()
{
    QVERIFY(
        SharedSettings::store().apply({ { QStringLiteral("meterShape"), QStringLiteral("square") },
                                          { QStringLiteral("meterStyle"), QStringLiteral("wave") },
                                          { QStringLiteral("meterLabelStyle"), QStringLiteral("letters") },
                                          { QStringLiteral("memoryAccent"), QStringLiteral("amber") },
                                          { QStringLiteral("cpuReadout"), QStringLiteral("usage") } },
            {}));
}

} // namespace

/// Replaces the C library's function in this program, to count locks.
extern "C" int pthread_mutex_lock(pthread_mutex_t* mutex) noexcept
{
    static const auto real
        = reinterpret_cast<int (*)(pthread_mutex_t*)>(::dlsym(RTLD_NEXT, "pthread_mutex_lock"));
    lastLocked = mutex;
    locks += mutex == watched ? 1 : 0;
    return real(mutex);
}

/// A drawing of a whole strip uses one state of the settings, even if they change meanwhile.
class AppearanceTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        if (!DrawingFixture::prepare())
            QFAIL(DrawingFixture::noFont);
        StripWindow::prepare();
    }

    void theCountOfLookUpsIsReal()
    {
        QCOMPARE(lookUps([] {}), 0);
        QCOMPARE(lookUps([] { Setting(Keys::meterShape).value(); }), 1);
        QCOMPARE(lookUps([] {
            for (int i = 0; i < 5; ++i)
                Appearance::current();
        }),
            5);
    }

    void measuringAStripLooksTheStoreUpOnce()
    {
        QCOMPARE(lookUps([] { StripLayout::current(); }), 1);
        QCOMPARE(lookUps([] { StatusMetricView::itemWidth(cpu); }), 1);
    }

    void drawingThePreviewLooksTheStoreUpOnce()
    {
        StripWindow w;
        QCOMPARE(lookUps([&w] { QVERIFY(!w.picture().isNull()); }), 1);
    }

    void theAgentsStripLooksTheStoreUpOnce()
    {
        const auto readings = std::make_shared<FakeReadings>();
        PanelStrip strip(readings);
        strip.setFixedSize(strip.sizeHint());
        strip.show();
        readings->memory = readings->storage = 0.7;
        QCOMPARE(lookUps([&strip] { strip.redraw(); }), 1);
        Setting(Keys::meterLabelStyle).set(MeterLabelStyle::letters);
        QCOMPARE(lookUps([&strip] { strip.rebuild(); }), 1);
    }

    void aSaveBetweenTwoItemsMakesNoStripOfTwoStyles()
    {
        const auto readings = std::make_shared<InterruptingReadings>();
        PanelStrip strip(readings);
        strip.setFixedSize(strip.sizeHint());
        strip.show();
        readings->memory = 0.7;
        strip.redraw();
        const QImage before = strip.grab().toImage();
        QCOMPARE(strip.items().sections().first(), storage);
        readings->interrupt = saveAnotherStyle;
        strip.redraw();
        QCOMPARE(storedText("meterShape"), QStringLiteral("square"));
        QCOMPARE(strip.grab().toImage(), before);
        strip.redraw();
        QVERIFY(strip.grab().toImage() != before);
    }
};

KESTRUM_TEST_MAIN(QApplication, AppearanceTest)
#include "AppearanceTest.moc"
