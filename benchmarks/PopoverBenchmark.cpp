// Measures popovers of the built agent on a virtual display with a window manager, among 300 processes. All is seen from outside:
// the mouse is another client of the display, and a picture of some pixels is taken about five times a millisecond. The call is:
// PopoverBenchmark [OPENINGS]
//
//   bare      a window of the same size, without content, shown by this program
//   frame     from the press of the button until the whole popover is painted; the pointer has rested on the item before
//   list      from then until the list of apps has its first row, at the first opening of an agent: later ones have the rows of
//             their first frame from the scan before; the pointer has rested, so one scan of the processes is there already
//   at once   the same when the click comes as soon as the pointer: two scans half a second apart are needed

#include "tests/Support/AccessTree.h"
#include "tests/Support/DesktopFixture.h"
#include "tests/Support/OwnProcesses.h"
#include "tests/Support/StandIns.h"
#include "tests/Support/TestHome.h"
#include "tests/Support/VirtualDisplay.h"

#include <QGuiApplication>
#include <QPainter>
#include <QRasterWindow>
#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <functional>
#include <stdexcept>
#include <thread>
#include <xcb/xcb.h>

using namespace kestrum;

namespace {

using namespace std::chrono_literals;
using Clock = std::chrono::steady_clock;

constexpr int processes = 300;
constexpr char lifeTime[] = "290000"; // ms
constexpr auto longestWait = 5s;
constexpr std::chrono::milliseconds rest {
    700
};                              ///< longer than the pause between the first two scans of the processes
constexpr auto settling = 2s;   ///< by then an agent stands at its place, and has some history
constexpr int slowOpenings = 5; ///< how many times fewer the first openings of an agent are
constexpr QPoint away(300, 1100);
constexpr QRgb ground = 0; ///< the empty desktop

[[noreturn]] void fail(const char* what)
{
    throw std::runtime_error(what);
}

/// Reads pixels of the display, whoever has drawn them.
class Eye {
public:
    Eye()
        : m_display(xcb_connect(nullptr, nullptr))
        , m_root(xcb_setup_roots_iterator(xcb_get_setup(m_display)).data->root)
    {
    }
    ~Eye() { xcb_disconnect(m_display); }
    Q_DISABLE_COPY_MOVE(Eye)

    QList<QRgb> pixels(const QRect& place) const
    {
        auto* reply = xcb_get_image_reply(m_display,
            xcb_get_image(m_display, XCB_IMAGE_FORMAT_Z_PIXMAP, m_root, int16_t(place.x()),
                int16_t(place.y()), uint16_t(place.width()), uint16_t(place.height()), ~0U),
            nullptr);
        if (!reply)
            fail("no picture of the display");
        const auto* data = reinterpret_cast<const QRgb*>(xcb_get_image_data(reply));
        QList<QRgb> pixels(data, data + place.width() * place.height());
        std::free(reply);
        for (QRgb& pixel : pixels)
            pixel &= 0xFFFFFF;
        return pixels;
    }
    QRgb pixel(QPoint place) const { return pixels({ place, QSize(1, 1) }).first(); }

private:
    xcb_connection_t* m_display;
    xcb_window_t m_root;
};

/// The time in ms until `isSo`.
double until(const std::function<bool()>& isSo)
{
    const auto start = Clock::now();
    while (!isSo()) {
        if (Clock::now() - start > longestWait)
            fail("a popover or its list does not come, or does not go");
        std::this_thread::sleep_for(100us);
    }
    return std::chrono::duration<double, std::milli>(Clock::now() - start).count();
}

/// One process moves the mouse all the time: the start of a process would be a part of what is measured.
class Mouse {
public:
    Mouse() { m_process.start(text("xdotool"), { text("-") }); }
    ~Mouse()
    {
        m_process.closeWriteChannel();
        m_process.waitForFinished(1000);
    }
    Q_DISABLE_COPY_MOVE(Mouse)

    void move(QPoint to)
    {
        say("mousemove " + QByteArray::number(to.x()) + ' ' + QByteArray::number(to.y()));
    }
    void say(const QByteArray& command)
    {
        m_process.write(command + '\n');
        while (m_process.bytesToWrite() > 0)
            m_process.waitForBytesWritten();
    }

private:
    QProcess m_process;
};

void report(const char* what, std::vector<double> times)
{
    std::sort(times.begin(), times.end());
    const auto at = [&times](double share) { return times[std::size_t(share * double(times.size() - 1))]; };
    std::printf("%-28s p50 %7.1f ms   p95 %7.1f ms   worst %7.1f ms   of %d\n", what, at(0.5), at(0.95),
        times.back(), int(times.size()));
    std::fflush(stdout);
}

/// Where the popover of the CPU stands, and its first row of the list of apps, in pixels of the screen.
struct Places {
    QPoint item;
    QRect popover;
    QRect row;
    QPoint corners[2]; ///< pixels without content near the upper and the lower edge
};

class Agent {
public:
    Agent(const DesktopFixture& fixture, int scale)
    {
        qputenv("QT_SCALE_FACTOR", QByteArray::number(scale));
        m_process = Programs::started(fixture.agentProgram(), {});
        qunsetenv("QT_SCALE_FACTOR");
        if (!QTest::qWaitFor([this] { return !window("^Kestrum$").isEmpty(); }, Programs::patience))
            fail("no strip");
    }
    ~Agent() { Programs::end(*m_process); }
    Q_DISABLE_COPY_MOVE(Agent)

    qint64 pid() const { return m_process->processId(); }
    static QByteArray window(const char* title)
    {
        return Programs::run(text("xdotool"), words("search --onlyvisible --name " + QByteArray(title)))
            .output.trimmed();
    }

private:
    std::unique_ptr<QProcess> m_process;
};

/// Asks an agent that is seen by assistive programs, which is slower: the measured ones are not.
Places places(const DesktopFixture& fixture, int scale)
{
    const AccessTree tree;
    const Agent agent(fixture, scale);
    QTest::qWait(1000); // the strip has its place and its width
    const QRect strip = DesktopFixture::geometry(Agent::window("^Kestrum$"));
    const DesktopFixture::Items items = fixture.items();
    Places places;
    places.item
        = { strip.left() + int((DesktopFixture::stripSideRoom + items.middles.value(text("cpu"))) * scale),
              strip.center().y() };
    DesktopFixture::click(places.item);
    Accessible dialog;
    QList<Accessible> rows;
    const auto isFilled = [&] {
        dialog = tree.application(agent.pid()).find(text("dialog"));
        rows = dialog.findAll(text("list item"));
        return rows.size() > 4; // some of them are no apps
    };
    if (!QTest::qWaitFor(isFilled, Programs::patience))
        fail("the popover has no list");
    places.popover = DesktopFixture::geometry(Agent::window("^CPU$"));
    const QRect row = rows.first().place().translated(-dialog.place().topLeft());
    places.row = { places.popover.topLeft() + row.topLeft() * scale, QSize(60, row.height()) * scale };
    places.corners[0] = places.popover.topLeft() + QPoint(4, 45) * scale;
    places.corners[1] = places.popover.bottomLeft() + QPoint(4, -30) * scale;
    return places;
}

void measureBare(const Eye& eye, const QRect& place, int openings)
{
    struct Bare : QRasterWindow {
        void paintEvent(QPaintEvent*) override { QPainter(this).fillRect(0, 0, width(), height(), Qt::cyan); }
    };
    const QPoint corner = place.bottomLeft() + QPoint(8, -30);
    std::vector<double> times;
    for (int i = 0; i < openings; ++i) {
        Bare window;
        window.setFlags(Qt::Tool | Qt::FramelessWindowHint);
        window.setGeometry(place);
        const auto isSeen = [&](bool isPainted) {
            QCoreApplication::processEvents();
            return (eye.pixel(corner) != ground) == isPainted;
        };
        const auto start = Clock::now();
        window.show();
        until([&] { return isSeen(true); });
        times.push_back(std::chrono::duration<double, std::milli>(Clock::now() - start).count());
        window.hide();
        until([&] { return isSeen(false); });
    }
    report("bare window", times);
}

void measure(const DesktopFixture& fixture, int scale, int openings)
{
    const Places places = ::places(fixture, scale);
    const Eye eye;
    std::printf("scale %d, %d x %d pixels\n", scale, places.popover.width(), places.popover.height());
    measureBare(eye, places.popover, openings);

    Mouse mouse;
    mouse.move(away);
    const auto isGone = [&] { return eye.pixel(places.corners[1]) == ground; };
    const auto isPainted
        = [&] { return eye.pixel(places.corners[0]) != ground && eye.pixel(places.corners[1]) != ground; };
    const auto hasList = [&] {
        const QList<QRgb> row = eye.pixels(places.row);
        return std::any_of(row.begin(), row.end(), [&row](QRgb pixel) { return pixel != row.first(); });
    };
    const auto close = [&] {
        mouse.say("key Escape");
        mouse.move(away);
        until(isGone);
        std::this_thread::sleep_for(50ms);
    };

    // Returns the times until the popover is painted, and from then until it has its list.
    const auto open = [&](std::chrono::milliseconds pause) {
        mouse.move(places.item);
        std::this_thread::sleep_for(pause);
        mouse.say("click 1");
        const double frame = until(isPainted);
        const double list = until(hasList);
        close();
        return std::pair(frame, list);
    };

    {
        const Agent agent(fixture, scale);
        std::this_thread::sleep_for(settling);
        std::vector<double> frames;
        for (int i = 0; i < openings; ++i)
            frames.push_back(open(rest).first);
        report("click to frame", frames);
    }
    if (scale > 1)
        return; // lists do not depend on it
    for (const auto pause : { rest, 0ms }) {
        std::vector<double> lists;
        for (int i = 0; i < std::max(openings / slowOpenings, 1); ++i) {
            const Agent agent(fixture, scale);
            std::this_thread::sleep_for(settling);
            lists.push_back(open(pause).second);
        }
        report(pause > 0ms ? "frame to list" : "frame to list, at once", lists);
    }
}

} // namespace

int main(int argc, char** argv)
{
    if (const auto code = OwnProcesses::enter())
        return *code;
    const TestHome home;
    const VirtualDisplay display(QSize(2000, 1200));
    if (!display.isUp())
        return 1;
    const QGuiApplication application(argc, argv);
    const int openings = argc > 1 ? std::atoi(argv[1]) : 50;
    try {
        const DesktopFixture fixture;
        if (!fixture.isUp())
            fail("no desktop");
        StandIns standIns;
        const QString program = standIns.install(QStringLiteral("plain"));
        for (int i = 0; i < processes; ++i)
            standIns.start(program, lifeTime);
        for (const int scale : { 1, 2 })
            measure(fixture, scale, openings);
    } catch (const std::exception& error) {
        std::fprintf(stderr, "PopoverBenchmark: %s\n", error.what());
        return 1;
    }
    return 0;
}
