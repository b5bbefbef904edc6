// How fast the strip is built anew, beside making as many plain objects; how long a click on a page takes until the page is
// painted; and the program beside one that shows an empty window: how fast it comes up, the memory it holds, and how often it
// wakes while nobody touches it. Programs are measured as whole processes, in turn, on one virtual display:
// WindowBenchmark KESTRUM_PROGRAM [IDLE_SECONDS]; with "--empty-window" it is itself the empty program, which ends at its first
// frame unless "stay" follows.

#include "Kestrum/MenuBar/MenuBarStripView.h"
#include "Kestrum/Window/SettingsView.h"
#include "KestrumShared/Settings/Keys.h"
#include "KestrumShared/Settings/SharedSettings.h"
#include "Platform/Bundle.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFile>
#include <QProcess>
#include <QTemporaryDir>
#include <QThread>
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
constexpr int pageClicks = 100;
constexpr int settlingSeconds = 3; ///< after which a window has done all that follows its start

/// An application's window of the same size with nothing in it.
class EmptyWindow final : public QWidget {
public:
    explicit EmptyWindow(bool stays)
        : m_stays(stays)
    {
    }

private:
    void paintEvent(QPaintEvent*) override
    {
        if (!m_stays)
            QTimer::singleShot(0, qApp, [] { QCoreApplication::exit(0); });
    }

    bool m_stays;
};

int runEmptyWindow(int argc, char** argv)
{
    const bool stays = argc > 2 && std::strcmp(argv[2], "stay") == 0;
    QApplication application(argc, argv);
    QApplication::setStyle(QStringLiteral("fusion"));
    EmptyWindow window(stays);
    window.resize(640, 520);
    window.show();
    return QApplication::exec();
}

/// The value that `share` of the values, from 0 to 1, do not exceed.
double quantile(std::vector<double> values, double share)
{
    std::sort(values.begin(), values.end());
    return values[std::min(values.size() - 1, std::size_t(share * double(values.size())))];
}

double median(const std::vector<double>& values)
{
    return quantile(values, 0.5);
}

template <class Work> double microsecondsOf(int times, Work work)
{
    QElapsedTimer clock;
    clock.start();
    for (int i = 0; i < times; ++i)
        work();
    return double(clock.nsecsElapsed()) / 1000 / times;
}

void measureRebuild()
{
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

/// From the choice of a page in the window until its pixels are there.
void measurePages()
{
    SettingsView view;
    view.resize(640, 520);
    view.show();
    QImage image(view.size(), QImage::Format_ARGB32_Premultiplied);
    for (const auto& page : allCases<SettingsPage>()) {
        std::vector<double> took;
        for (int i = 0; i < pageClicks; ++i) {
            view.showPage(
                page.value == SettingsPage::general ? SettingsPage::menuBar : SettingsPage::general);
            view.render(&image);
            took.push_back(microsecondsOf(1, [&view, &image, &page] {
                view.showPage(page.value);
                view.render(&image);
            }) / 1000);
        }
        std::printf("page %-9s painted    %8.1f ms   p95 %.1f (goal 16)\n", page.rawValue, median(took),
            quantile(took, 0.95));
    }
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

/// An X server of our own, for as long as this object lives.
class VirtualServer {
public:
    VirtualServer()
    {
        m_server.setChildProcessModifier([] { ::prctl(PR_SET_PDEATHSIG, SIGTERM); });
        // Without its reset, which would cost every run.
        m_server.start(QStringLiteral("Xvfb"),
            { QStringLiteral("-displayfd"), QStringLiteral("1"), QStringLiteral("-noreset"),
                QStringLiteral("-nolisten"), QStringLiteral("tcp"), QStringLiteral("-screen"),
                QStringLiteral("0"), QStringLiteral("1000x800x24") });
        QByteArray display;
        while (!display.endsWith('\n') && m_server.waitForReadyRead(10000))
            display += m_server.readAllStandardOutput();
        qputenv("DISPLAY", ":" + display.trimmed());
        qputenv("QT_QPA_PLATFORM", "xcb");
    }
    ~VirtualServer()
    {
        m_server.terminate();
        m_server.waitForFinished(3000);
    }
    Q_DISABLE_COPY_MOVE(VirtualServer)

private:
    QProcess m_server;
};

void measureStart(const QString& kestrum, const QString& self)
{
    std::vector<double> ours;
    std::vector<double> empty;
    for (int round = 0; round < rounds; ++round) {
        empty.push_back(millisecondsOf(self, { QStringLiteral("--empty-window") }));
        ours.push_back(millisecondsOf(kestrum, { QStringLiteral("--first-frame") }));
    }
    std::printf("empty window, first frame %8.1f ms\n", median(empty));
    std::printf("Kestrum, first frame      %8.1f ms   ratio %.2f (goal 1.5)\n", median(ours),
        median(ours) / median(empty));
}

/// The number behind `name` in a file of "name: number" lines, summed over all of them.
double numberIn(const QString& path, const QByteArray& name)
{
    QFile file(path);
    double sum = 0;
    if (!file.open(QIODevice::ReadOnly))
        return sum;
    for (const QByteArray& line : file.readAll().split('\n')) {
        if (line.startsWith(name + ':'))
            sum += line.mid(name.size() + 1).simplified().split(' ').first().toDouble();
    }
    return sum;
}

/// A program whose window is open and that nobody touches.
class IdleProgram {
public:
    IdleProgram(const QString& program, const QStringList& arguments)
    {
        m_process.setChildProcessModifier([] { ::prctl(PR_SET_PDEATHSIG, SIGTERM); });
        m_process.start(program, arguments);
        m_process.waitForStarted(10000);
        QThread::sleep(settlingSeconds);
    }
    ~IdleProgram()
    {
        m_process.terminate();
        m_process.waitForFinished(3000);
    }
    Q_DISABLE_COPY_MOVE(IdleProgram)

    double mebibytes() const { return numberIn(path(QStringLiteral("smaps_rollup")), "Pss") / 1024; }
    /// How often its threads went to sleep so far, which is as often as they woke.
    double wakeUps() const
    {
        double sum = 0;
        const QString tasks = path(QStringLiteral("task"));
        for (const QString& task : QDir(tasks).entryList(QDir::Dirs | QDir::NoDotAndDotDot))
            sum += numberIn(
                tasks + QLatin1Char('/') + task + QStringLiteral("/status"), "voluntary_ctxt_switches");
        return sum;
    }

private:
    QString path(const QString& file) const
    {
        return QStringLiteral("/proc/%1/%2").arg(m_process.processId()).arg(file);
    }

    QProcess m_process;
};

struct Idle {
    double mebibytes;
    double wakeUps;
};

/// One program at a time: memory that both share would count half.
Idle measuredIdle(const QString& program, const QStringList& arguments, int seconds)
{
    const IdleProgram running(program, arguments);
    const Idle before { running.mebibytes(), running.wakeUps() };
    QThread::sleep(seconds);
    return { before.mebibytes, running.wakeUps() - before.wakeUps };
}

void measureIdle(const QString& kestrum, const QString& self, int seconds)
{
    const Idle empty
        = measuredIdle(self, { QStringLiteral("--empty-window"), QStringLiteral("stay") }, seconds);
    const Idle ours = measuredIdle(kestrum, {}, seconds);
    std::printf("empty window, memory      %8.1f MiB\n", empty.mebibytes);
    std::printf("Kestrum, memory           %8.1f MiB  ratio %.2f (goal 1.4)\n", ours.mebibytes,
        ours.mebibytes / empty.mebibytes);
    std::printf("empty window, wake-ups    %8.0f in %d s\n", empty.wakeUps, seconds);
    std::printf("Kestrum, wake-ups         %8.0f in %d s (goal 0)\n", ours.wakeUps, seconds);
}

} // namespace

int main(int argc, char** argv)
{
    if (argc > 1 && std::strcmp(argv[1], "--empty-window") == 0)
        return runEmptyWindow(argc, argv);
    if (argc < 2) {
        std::fprintf(stderr, "Usage: WindowBenchmark KESTRUM_PROGRAM [IDLE_SECONDS]\n");
        return 2;
    }
    const QString self = QString::fromLocal8Bit(argv[0]);
    const QString kestrum = QFileInfo(QString::fromLocal8Bit(argv[1])).absoluteFilePath();
    const QTemporaryDir home;
    qputenv("HOME", home.path().toUtf8());
    qputenv("XDG_CONFIG_HOME", home.filePath(QStringLiteral("config")).toUtf8());
    qputenv("XDG_RUNTIME_DIR", home.filePath(QStringLiteral("run")).toUtf8());
    ::mkdir(qgetenv("XDG_RUNTIME_DIR").constData(), 0700);
    qunsetenv("DBUS_SESSION_BUS_ADDRESS");
    // No agent is started beside the window.
    SharedSettings::store().set(Keys::agentEnabled.name, false);
    {
        qputenv("QT_QPA_PLATFORM", "offscreen");
        const QApplication application(argc, argv);
        QApplication::setStyle(QStringLiteral("fusion"));
        Bundle::setMain(Bundle(QDir::cleanPath(kestrum + QStringLiteral("/../../.."))));
        SharedSettings::store().registerDefaults(SharedSettings::factoryDefaults());
        measureRebuild();
        measurePages();
    }
    const VirtualServer display;
    measureStart(kestrum, self);
    measureIdle(kestrum, self, argc > 2 ? std::atoi(argv[2]) : 10);
    return 0;
}
