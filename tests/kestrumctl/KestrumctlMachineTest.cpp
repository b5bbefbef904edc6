// Popovers of a machine whose files a test writes.

#include "kestrumctl/MachineReadings.h"
#include "tests/Support/FakeMachine.h"
#include "tests/Support/FreshSettings.h"
#include "tests/Support/Kestrumctl.h"

#include <QImage>

using namespace kestrum;

namespace {

constexpr quint64 kB = 1024;

} // namespace

class KestrumctlMachineTest : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        registerFactoryDefaults();
        m_machine.write(QStringLiteral("proc/stat"), "cpu 10 0 10 100 0 0 0 0 0 0\n");
        m_machine.write(QStringLiteral("proc/meminfo"),
            "MemTotal: 100000 kB\nMemFree: 10000 kB\nMemAvailable: 40000 kB\nSwapTotal: 50000 kB\n"
            "SwapFree: 20000 kB\nAnonPages: 30000 kB\nShmem: 4000 kB\n");
        m_machine.write(
            QStringLiteral("proc/7/stat"), "7 (worker) S 1 7 7 0 -1 0 0 0 0 0 5 5 0 0 20 0 1 0 100 0 10\n");
        m_machine.write(QStringLiteral("proc/7/statm"), "900 300 0 1 0 1 0\n");
    }

    void theReadingsAreThoseOfItsFiles()
    {
        const auto readings = MachineReadings::taken(MonitorSection::memory, m_machine.root());
        QVERIFY2(readings, readings.failureText().toUtf8());
        const MemoryPopoverReadings& memory = readings->memory;
        QCOMPARE(memory.parts.total, 100000 * kB);
        QCOMPARE(memory.parts.swapUsed, 30000 * kB);
        QCOMPARE(memory.apps.size(), 1);
        QCOMPARE(memory.apps.first().name, QStringLiteral("worker"));
    }

    void theyAreDrawn()
    {
        const QString path = TestHome::root() + QStringLiteral("/popover.png");
        QCOMPARE(ctl("render popover-memory -o", { path, text("--root"), m_machine.root() }), done());
        const QImage ofMachine(path);
        QCOMPARE(ctl("render popover-memory -o", { path }), done());
        const QImage sample(path);
        QCOMPARE(ofMachine.width(), sample.width());
        // The machine has a single app.
        QVERIFY(ofMachine.height() < sample.height());
    }

    void whatIsNoMachineIsWrongUse()
    {
        const auto result = ctl("render popover-cpu -o x.png --root", { TestHome::root() });
        QVERIFY_FAILED(result, 2, "it has no proc/stat");
    }

private:
    FileTree m_machine;
};

KESTRUM_TEST_MAIN(QCoreApplication, KestrumctlMachineTest)
#include "KestrumctlMachineTest.moc"
