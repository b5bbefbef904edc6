// Measures the rebuild of the strip, compared with the creation of as many plain objects, and the time from a click on a page
// until the page is painted. The call is WindowBenchmark KESTRUM, where KESTRUM is the program in its bundle.

#include "Kestrum/MenuBar/MenuBarStripView.h"
#include "Kestrum/Window/SettingsView.h"
#include "KestrumShared/Settings/SharedSettings.h"
#include "Platform/Bundle/Bundle.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QImage>
#include <QTemporaryDir>
#include <algorithm>
#include <cstdio>
#include <sys/stat.h>
#include <vector>

using namespace kestrum;

namespace {

constexpr int rebuilds = 2000;
constexpr int pageClicks = 100;

/// The quantile of `values` for `share`, 0 to 1.
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

/// Measures the time from the choice of a page in the window until the page is painted.
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

} // namespace

int main(int argc, char** argv)
{
    if (argc != 2) {
        std::fprintf(stderr, "Usage: WindowBenchmark KESTRUM\n");
        return 2;
    }
    const QTemporaryDir home;
    qputenv("HOME", home.path().toUtf8());
    qputenv("XDG_CONFIG_HOME", home.filePath(QStringLiteral("config")).toUtf8());
    qputenv("XDG_RUNTIME_DIR", home.filePath(QStringLiteral("run")).toUtf8());
    ::mkdir(qgetenv("XDG_RUNTIME_DIR").constData(), 0700);
    qunsetenv("DBUS_SESSION_BUS_ADDRESS");
    qputenv("QT_QPA_PLATFORM", "offscreen");
    const QApplication application(argc, argv);
    QApplication::setStyle(QStringLiteral("fusion"));
    Bundle::setMain(Bundle(QDir::cleanPath(
        QFileInfo(QString::fromLocal8Bit(argv[1])).absoluteFilePath() + QStringLiteral("/../../.."))));
    SharedSettings::store().registerDefaults(SharedSettings::factoryDefaults());
    measureRebuild();
    measurePages();
    return 0;
}
