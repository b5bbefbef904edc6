// Measures the rebuild of the strip, compared with the creation of as many plain objects, the time from a click on a page until
// the page is painted, compared with plain pages of Qt's own controls, and the frames of a drag, compared with a plain widget
// that follows the pointer. The call is WindowBenchmark KESTRUM, where KESTRUM is the program in its bundle.

#include "Kestrum/MenuBar/MenuBarStripView.h"
#include "Kestrum/Window/SettingsView.h"
#include "KestrumShared/Settings/SharedSettings.h"
#include "Platform/Bundle/Bundle.h"

#include <QApplication>
#include <QCheckBox>
#include <QComboBox>
#include <QDir>
#include <QFileInfo>
#include <QFormLayout>
#include <QImage>
#include <QMouseEvent>
#include <QPainter>
#include <QStackedWidget>
#include <QTemporaryDir>
#include <algorithm>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <functional>
#include <sys/stat.h>
#include <vector>

using namespace kestrum;

namespace {

constexpr int rebuilds = 2000;
constexpr int pageClicks = 100;
constexpr int dragFrames = 600;
constexpr int formRows = 20; // about as many as on a settings page

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

double processorMicroseconds()
{
    timespec time {};
    ::clock_gettime(CLOCK_THREAD_CPUTIME_ID, &time);
    return double(time.tv_sec) * 1e6 + double(time.tv_nsec) / 1e3;
}

/// Processor time of this thread, which does all of this work without waiting: other programs do not count.
template <class Work> double microsecondsOf(int times, Work work)
{
    const double start = processorMicroseconds();
    for (int i = 0; i < times; ++i)
        work();
    return (processorMicroseconds() - start) / times;
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

/// Calls `turn` with a page's number and then paints `view`; the times in ms.
std::vector<double> millisecondsOfTurns(
    QWidget& view, int pages, const std::function<void(int)>& turn, int page)
{
    QImage image(view.size(), QImage::Format_ARGB32_Premultiplied);
    std::vector<double> took;
    for (int i = 0; i < pageClicks; ++i) {
        turn((page + 1) % pages);
        view.render(&image);
        took.push_back(microsecondsOf(1, [&] {
            turn(page);
            view.render(&image);
        }) / 1000);
    }
    return took;
}

void report(const char* what, const std::vector<double>& times)
{
    std::printf("%-26s p50 %.3f ms   p95 %.3f ms   p99 %.3f ms\n", what, median(times), quantile(times, 0.95),
        quantile(times, 0.99));
}

QWidget* plainPage()
{
    auto* page = new QWidget;
    auto* form = new QFormLayout(page);
    for (int row = 0; row < formRows; ++row) {
        auto* picker = new QComboBox;
        picker->addItems({ QStringLiteral("None"), QStringLiteral("Usage") });
        form->addRow(
            QStringLiteral("Row %1").arg(row), row % 2 ? static_cast<QWidget*>(picker) : new QCheckBox);
    }
    return page;
}

/// Measures the time from the choice of a page in the window until the page is painted.
void measurePages()
{
    SettingsView view;
    QStackedWidget plain;
    QWidget empty;
    for (int i = 0; i < 2; ++i)
        plain.addWidget(plainPage());
    for (QWidget* window : { static_cast<QWidget*>(&view), static_cast<QWidget*>(&plain), &empty }) {
        window->resize(640, 520);
        window->show();
    }
    report("empty window painted",
        millisecondsOfTurns(
            empty, 1, [](int) {}, 0));
    report("plain page painted",
        millisecondsOfTurns(
            plain, 2, [&plain](int page) { plain.setCurrentIndex(page); }, 0));
    const auto& pages = allCases<SettingsPage>();
    const int count = int(std::size(pages));
    for (int i = 0; i < count; ++i) {
        const auto turn = [&](int page) { view.showPage(pages[std::size_t(page)].value); };
        report(
            qPrintable(QStringLiteral("page %1 painted").arg(QLatin1String(pages[std::size_t(i)].rawValue))),
            millisecondsOfTurns(view, count, turn, i));
    }
}

/// A square that follows the pointer, in a widget of the strip's size.
class PlainStrip final : public QWidget {
    void mouseMoveEvent(QMouseEvent* event) override
    {
        m_place = event->position();
        update();
    }
    void paintEvent(QPaintEvent*) override
    {
        QPainter(this).fillRect(QRectF(m_place.x() - 11, 0, 22, 22), Qt::darkCyan);
    }
    QPointF m_place;
};

/// The times in ms from a move of the pointer until `strip`, whose items are dragged, is painted.
std::vector<double> millisecondsOfDrag(QWidget& strip)
{
    strip.resize(strip.sizeHint().expandedTo(QSize(200, 22)));
    strip.show();
    QImage image(strip.size(), QImage::Format_ARGB32_Premultiplied);
    const auto send = [&strip](QEvent::Type type, double x, Qt::MouseButton button, Qt::MouseButtons held) {
        const QPointF at(x, 14);
        QMouseEvent event(type, at, strip.mapToGlobal(at), button, held, Qt::NoModifier);
        QApplication::sendEvent(&strip, &event);
    };
    send(QEvent::MouseButtonPress, 20, Qt::LeftButton, Qt::LeftButton);
    std::vector<double> took;
    for (int i = 0; i < dragFrames; ++i) {
        const double x = 20 + std::abs((i * 3) % (2 * strip.width()) - strip.width());
        took.push_back(microsecondsOf(1, [&] {
            send(QEvent::MouseMove, x, Qt::NoButton, Qt::LeftButton);
            strip.render(&image);
        }) / 1000);
    }
    send(QEvent::MouseButtonRelease, 20, Qt::LeftButton, Qt::NoButton);
    return took;
}

void measureDrag()
{
    PlainStrip plain;
    MenuBarStripView strip;
    strip.rebuild();
    const std::vector<double> bare = millisecondsOfDrag(plain);
    bool isDragged = false;
    QObject::connect(&strip, &MenuBarStripView::dragMoved, [&isDragged] { isDragged = true; });
    const std::vector<double> ours = millisecondsOfDrag(strip);
    if (!isDragged) {
        std::fputs("WindowBenchmark: no item was dragged\n", stderr);
        return;
    }
    report("plain drag", bare);
    report("drag", ours);
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
    measureDrag();
    return 0;
}
