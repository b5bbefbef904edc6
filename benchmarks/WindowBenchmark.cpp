// How fast the strip is built anew, beside making as many plain objects, and how fast the program comes up, beside a
// program that shows an empty window. Start-up is measured as whole processes, in turn, on one virtual display:
// WindowBenchmark KESTRUM_PROGRAM; with "--empty-window" it is itself the empty program.

#include "Kestrum/MenuBar/MenuBarStripView.h"
#include "KestrumShared/Settings/SharedSettings.h"

#include <QApplication>
#include <QElapsedTimer>
#include <QProcess>
#include <QTemporaryDir>
#include <QTimer>
#include <QVBoxLayout>
#include <algorithm>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <sys/prctl.h>
#include <sys/stat.h>
#include <vector>

using namespace kestrum;

namespace {

constexpr int rounds = 41;
constexpr int rebuilds = 2000;

/// An application's window of the same size with nothing in it, which ends at its first frame.
class EmptyWindow final : public QWidget {
    void paintEvent(QPaintEvent*) override
    {
        QTimer::singleShot(0, qApp, [] { QCoreApplication::exit(0); });
    }
};

int runEmptyWindow(int argc, char** argv)
{
    QApplication application(argc, argv);
    QApplication::setStyle(QStringLiteral("fusion"));
    EmptyWindow window;
    window.resize(640, 520);
    window.show();
    return QApplication::exec();
}

double median(std::vector<double> values)
{
    std::nth_element(values.begin(), values.begin() + long(values.size() / 2), values.end());
    return values[values.size() / 2];
}

template <class Work> double microsecondsOf(int times, Work work)
{
    QElapsedTimer clock;
    clock.start();
    for (int i = 0; i < times; ++i)
        work();
    return double(clock.nsecsElapsed()) / 1000 / times;
}

void measureRebuild(int argc, char** argv)
{
    qputenv("QT_QPA_PLATFORM", "offscreen");
    QApplication application(argc, argv);
    SharedSettings::store().registerDefaults(SharedSettings::factoryDefaults());
    MenuBarStripView strip;
    std::vector<double> built;
    std::vector<double> plain;
    for (int round = 0; round < 5; ++round) {
        built.push_back(microsecondsOf(rebuilds, [&strip] { strip.rebuild(); }));
        plain.push_back(microsecondsOf(rebuilds, [&strip] {
            QWidget parent;
            for (int i = 0; i < int(strip.items().size()); ++i)
                new QWidget(&parent);
        }));
    }
    std::printf("strip rebuilt             %8.1f us\n", median(built));
    std::printf(
        "as many empty QWidgets    %8.1f us   ratio %.2f\n", median(plain), median(built) / median(plain));
}

/// How long the process takes from its start to its end, which is its first frame.
double millisecondsOf(const QString& program, const QStringList& arguments)
{
    QElapsedTimer clock;
    clock.start();
    QProcess process;
    process.start(program, arguments);
    if (!process.waitForFinished(20000) || process.exitCode() != 0) {
        std::fprintf(stderr, "WindowBenchmark: %s failed\n", qPrintable(program));
        std::exit(1);
    }
    return double(clock.nsecsElapsed()) / 1e6;
}

void measureStart(const QString& kestrum, const QString& self)
{
    QProcess server;
    server.setChildProcessModifier([] { ::prctl(PR_SET_PDEATHSIG, SIGTERM); });
    // Without its reset, which would cost every run.
    server.start(QStringLiteral("Xvfb"),
        { QStringLiteral("-displayfd"), QStringLiteral("1"), QStringLiteral("-noreset"),
            QStringLiteral("-nolisten"), QStringLiteral("tcp"), QStringLiteral("-screen"),
            QStringLiteral("0"), QStringLiteral("1000x800x24") });
    QByteArray display;
    while (!display.endsWith('\n') && server.waitForReadyRead(10000))
        display += server.readAllStandardOutput();
    qputenv("DISPLAY", ":" + display.trimmed());
    qputenv("QT_QPA_PLATFORM", "xcb");

    std::vector<double> ours;
    std::vector<double> empty;
    for (int round = 0; round < rounds; ++round) {
        empty.push_back(millisecondsOf(self, { QStringLiteral("--empty-window") }));
        ours.push_back(millisecondsOf(kestrum, { QStringLiteral("--first-frame") }));
    }
    std::printf("empty window, first frame %8.1f ms\n", median(empty));
    std::printf("Kestrum, first frame      %8.1f ms   ratio %.2f (goal 1.5)\n", median(ours),
        median(ours) / median(empty));
    server.terminate();
    server.waitForFinished(3000);
}

} // namespace

int main(int argc, char** argv)
{
    if (argc > 1 && std::strcmp(argv[1], "--empty-window") == 0)
        return runEmptyWindow(argc, argv);
    if (argc != 2) {
        std::fprintf(stderr, "Usage: WindowBenchmark KESTRUM_PROGRAM\n");
        return 2;
    }
    const QTemporaryDir home;
    qputenv("HOME", home.path().toUtf8());
    qputenv("XDG_CONFIG_HOME", home.filePath(QStringLiteral("config")).toUtf8());
    qputenv("XDG_RUNTIME_DIR", home.filePath(QStringLiteral("run")).toUtf8());
    ::mkdir(qgetenv("XDG_RUNTIME_DIR").constData(), 0700);
    qunsetenv("DBUS_SESSION_BUS_ADDRESS");
    measureRebuild(argc, argv);
    measureStart(QString::fromLocal8Bit(argv[1]), QString::fromLocal8Bit(argv[0]));
    return 0;
}
