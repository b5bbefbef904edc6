// The built agent and window while another program posts signals as fast as it can.

#include "KestrumShared/Settings/PopoverRequest.h"
#include "KestrumShared/Settings/SharedSettings.h"
#include "Platform/Machine/ProcessSample.h"
#include "tests/Support/FileContent.h"
#include "tests/Support/HelperProcess.h"
#include "tests/Support/PanelTest.h"

#include <QElapsedTimer>
#include <unistd.h>

using namespace kestrum;

using Programs::patience;

class FloodEndToEndTest : public PanelTest {
    Q_OBJECT

    /// The processor time that a process has used, in seconds.
    static double used(qint64 pid)
    {
        const QByteArray stat = contentOf(text("/proc/%1/stat").arg(pid));
        const auto sample = ProcessSample::parsed({ stat.constData(), std::size_t(stat.size()) });
        return sample ? double(sample->time) / double(::sysconf(_SC_CLK_TCK)) : -1;
    }

private Q_SLOTS:
    void aFloodCostsLittleAndEndsWithoutATrace()
    {
        const auto window = Programs::started(fixture().program("Kestrum"), {});
        QVERIFY(!DesktopFixture::windowOf(window->processId()).isEmpty());
        QTest::qWait(500); // the window's second look at the agent
        const QList<qint64> programs { agent().processId(), window->processId() };
        QList<double> before;
        for (const qint64 pid : programs)
            before.append(used(pid));
        using SharedSettings::Signal;
        constexpr int duration = 3000;
        HelperProcess flood({ text("flood"), QString::number(duration),
            SharedSettings::name(Signal::settings), SharedSettings::name(Signal::menuBarChanged),
            SharedSettings::name(Signal::updateAvailable), notificationName(PopoverRequest::close) });
        const QByteArray posted = flood.line();
        for (qsizetype i = 0; i < programs.size(); ++i) {
            const double share = (used(programs[i]) - before[i]) * 1000 / duration;
            qInfo("%s: process %lld used %.1f %% of a core", posted.constData(), programs[i], share * 100);
            // 5 % for the flood, and as much for what the program does anyway. Without the limit of how fast signals are read, it
            // would be a third of a core or more.
            QVERIFY(before[i] >= 0 && share >= 0 && share < (Programs::areSanitized ? 0.5 : 0.1));
        }
        QVERIFY2(posted.mid(posted.indexOf(' ')).toInt() > (Programs::areSanitized ? 10'000 : 100'000),
            posted.constData());

        fixture().kestrumctl("popover memory");
        const auto isOpen = [] {
            return !Programs::run(text("xdotool"), words("search --onlyvisible --name ^Memory"))
                        .output.trimmed()
                        .isEmpty();
        };
        QElapsedTimer time;
        time.start();
        QTRY_VERIFY_WITH_TIMEOUT(isOpen(), patience);
        QVERIFY2(time.elapsed() < Programs::withinASecond, QByteArray::number(time.elapsed()).constData());
        Programs::end(*window);
    }
};

KESTRUM_TEST_MAIN_ON_DISPLAY(FloodEndToEndTest)
#include "FloodEndToEndTest.moc"
