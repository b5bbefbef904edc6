// SPDX-License-Identifier: MIT
// What tools/hosts sees and does on an X server. It has no toolkit's event loop, so that a look takes milliseconds.
//
//   find AREA COLOUR           the rectangle of all pixels of that colour, and their number
//   changed AREA PICTURE       the rectangle of all pixels that are not as in the picture, and their number
//   until MS AREA COLOUR       waits for pixels of that colour, and tells how many milliseconds it took
//   until-changed MS AREA PICTURE LEAST   waits until at least so many pixels are not as in the picture
//   edges AREA                 how many sharp edges there are at even places, and how many at odd ones
//   save PICTURE               what is shown
//   grab                       takes pointer and keyboard for a moment, as what locks a screen does
//   window INSET                     a maximised window until it is closed; tells the middle of its close button
//
// AREA is X,Y,WIDTHxHEIGHT, COLOUR is #rrggbb. The exit code is 0 if something was found or done, else 1; 2: bad words.
#include <QColor>
#include <QElapsedTimer>
#include <QImage>
#include <QThread>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string_view>
#include <xcb/xcb.h>

namespace {

template <typename T> using Reply = std::unique_ptr<T, decltype(&std::free)>;

template <typename T> Reply<T> owned(T* reply)
{
    return Reply<T>(reply, &std::free);
}

/// Fewer pixels of a colour than this are no item: the edges of letters have many colours.
constexpr int fewPixels = 8;

class Screen {
public:
    Screen()
        : m_connection(xcb_connect(nullptr, nullptr))
    {
        if (xcb_connection_has_error(m_connection))
            std::exit(1);
        m_screen = xcb_setup_roots_iterator(xcb_get_setup(m_connection)).data;
    }
    ~Screen() { xcb_disconnect(m_connection); }
    Q_DISABLE_COPY_MOVE(Screen)

    QRect rect() const { return { 0, 0, m_screen->width_in_pixels, m_screen->height_in_pixels }; }

    QImage picture(const QRect& wanted) const
    {
        const QRect area = wanted & rect();
        const auto reply = owned(xcb_get_image_reply(m_connection,
            xcb_get_image(m_connection, XCB_IMAGE_FORMAT_Z_PIXMAP, m_screen->root, std::int16_t(area.x()),
                std::int16_t(area.y()), std::uint16_t(area.width()), std::uint16_t(area.height()), ~0U),
            nullptr));
        if (!reply || xcb_get_image_data_length(reply.get()) < area.width() * area.height() * 4)
            return QImage();
        return QImage(xcb_get_image_data(reply.get()), area.width(), area.height(), QImage::Format_RGB32)
            .copy();
    }

    bool grab() const
    {
        const auto pointer = owned(xcb_grab_pointer_reply(m_connection,
            xcb_grab_pointer(m_connection, 0, m_screen->root, 0, XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC, 0,
                0, XCB_CURRENT_TIME),
            nullptr));
        const auto keyboard = owned(xcb_grab_keyboard_reply(m_connection,
            xcb_grab_keyboard(
                m_connection, 0, m_screen->root, XCB_CURRENT_TIME, XCB_GRAB_MODE_ASYNC, XCB_GRAB_MODE_ASYNC),
            nullptr));
        return pointer && keyboard && pointer->status == XCB_GRAB_STATUS_SUCCESS
            && keyboard->status == XCB_GRAB_STATUS_SUCCESS;
    }

    /// Shows a maximised window until its close button is pressed. `inset` is the button's distance from the window's right side.
    bool showWindow(int inset);

private:
    xcb_atom_t atom(std::string_view name) const
    {
        const auto reply = owned(xcb_intern_atom_reply(m_connection,
            xcb_intern_atom(m_connection, 0, std::uint16_t(name.size()), name.data()), nullptr));
        return reply ? reply->atom : xcb_atom_t(XCB_ATOM_NONE);
    }

    xcb_connection_t* m_connection;
    xcb_screen_t* m_screen = nullptr;
};

bool Screen::showWindow(int inset)
{
    const xcb_window_t window = xcb_generate_id(m_connection);
    const std::uint32_t values[]
        = { m_screen->white_pixel, XCB_EVENT_MASK_STRUCTURE_NOTIFY | XCB_EVENT_MASK_PROPERTY_CHANGE };
    xcb_create_window(m_connection, XCB_COPY_FROM_PARENT, window, m_screen->root, 100, 200, 400, 300, 0,
        XCB_WINDOW_CLASS_INPUT_OUTPUT, XCB_COPY_FROM_PARENT, XCB_CW_BACK_PIXEL | XCB_CW_EVENT_MASK, values);
    const xcb_atom_t protocols = atom("WM_PROTOCOLS");
    const xcb_atom_t deletion = atom("WM_DELETE_WINDOW");
    const xcb_atom_t extents = atom("_NET_FRAME_EXTENTS");
    const xcb_atom_t states[]
        = { atom("_NET_WM_STATE_MAXIMIZED_VERT"), atom("_NET_WM_STATE_MAXIMIZED_HORZ") };
    xcb_change_property(
        m_connection, XCB_PROP_MODE_REPLACE, window, protocols, XCB_ATOM_ATOM, 32, 1, &deletion);
    xcb_change_property(
        m_connection, XCB_PROP_MODE_REPLACE, window, atom("_NET_WM_STATE"), XCB_ATOM_ATOM, 32, 2, states);
    xcb_map_window(m_connection, window);
    xcb_flush(m_connection);
    for (;;) {
        const auto event = owned(xcb_wait_for_event(m_connection));
        if (!event)
            return false;
        const int kind = event->response_type & 0x7f;
        if (kind == XCB_CLIENT_MESSAGE) {
            const auto* message = reinterpret_cast<const xcb_client_message_event_t*>(event.get());
            if (message->type == protocols && message->data.data32[0] == deletion)
                return true;
        }
        // Whatever changes, the place is told again. The last word holds.
        const auto frame = owned(xcb_get_property_reply(m_connection,
            xcb_get_property(m_connection, 0, window, extents, XCB_ATOM_CARDINAL, 0, 4), nullptr));
        const auto size
            = owned(xcb_get_geometry_reply(m_connection, xcb_get_geometry(m_connection, window), nullptr));
        const auto place = owned(xcb_translate_coordinates_reply(
            m_connection, xcb_translate_coordinates(m_connection, window, m_screen->root, 0, 0), nullptr));
        if (!frame || !size || !place || xcb_get_property_value_length(frame.get()) < 16)
            continue;
        const auto* widths = static_cast<const std::uint32_t*>(xcb_get_property_value(frame.get()));
        std::printf("%d %d\n", place->dst_x + size->width - inset, place->dst_y - (int(widths[2]) + 1) / 2);
        std::fflush(stdout);
    }
}

bool isNear(QRgb a, QRgb b)
{
    return std::abs(qRed(a) - qRed(b)) < 9 && std::abs(qGreen(a) - qGreen(b)) < 9
        && std::abs(qBlue(a) - qBlue(b)) < 9;
}

struct Found {
    QRect rect;
    int count = 0;
};

/// All pixels for which `isWanted(x, y, colour)` holds; places are from the picture's corner.
template <typename Wanted> Found found(const QImage& picture, Wanted isWanted)
{
    Found result;
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 0; x < picture.width(); ++x) {
            if (isWanted(x, y, picture.pixel(x, y))) {
                result.rect |= QRect(x, y, 1, 1);
                ++result.count;
            }
        }
    }
    return result;
}

Found ofColour(const Screen& screen, const QRect& area, QRgb colour)
{
    return found(screen.picture(area), [&](int, int, QRgb pixel) { return isNear(pixel, colour); });
}

Found notAsIn(const Screen& screen, const QRect& area, const QImage& before)
{
    return found(screen.picture(area), [&](int x, int y, QRgb pixel) {
        const QPoint place = area.topLeft() + QPoint(x, y);
        return !before.valid(place) || !isNear(pixel, before.pixel(place));
    });
}

bool tell(const Found& found, const QRect& area, int least)
{
    const QRect place = found.rect.translated(area.topLeft());
    if (found.count >= least)
        std::printf("%d %d %d %d %d\n", place.x(), place.y(), place.width(), place.height(), found.count);
    return found.count >= least;
}

/// Looks until `isThere()`, at most `limit` ms.
template <typename There> bool lookUntil(int limit, There isThere)
{
    QElapsedTimer timer;
    timer.start();
    for (;;) {
        const bool is = isThere();
        if (is)
            std::printf("%lld\n", static_cast<long long>(timer.elapsed()));
        if (is || timer.elapsed() > limit)
            return is;
        QThread::msleep(4);
    }
}

/// A drawing that was enlarged to twice its size has its edges at every other place, or soft ones.
void tellEdges(const QImage& picture)
{
    constexpr int sharp = 60;
    int edges[2] = {};
    for (int y = 0; y < picture.height(); ++y) {
        for (int x = 1; x < picture.width(); ++x) {
            if (std::abs(qGray(picture.pixel(x, y)) - qGray(picture.pixel(x - 1, y))) >= sharp)
                ++edges[x % 2];
        }
    }
    std::printf("%d %d\n", edges[0], edges[1]);
}

QRect areaFrom(const char* text)
{
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
    if (std::sscanf(text, "%d,%d,%dx%d", &x, &y, &width, &height) != 4)
        std::exit(2);
    return { x, y, width, height };
}

QRgb colourFrom(const char* text)
{
    const QColor colour(QLatin1StringView { text });
    if (!colour.isValid())
        std::exit(2);
    return colour.rgb();
}

QImage pictureFrom(const char* file)
{
    const QImage picture(QString::fromLocal8Bit(file));
    if (picture.isNull())
        std::exit(2);
    return picture;
}

} // namespace

int main(int count, char** words)
{
    const std::string_view verb = count > 1 ? words[1] : "";
    Screen screen;
    const auto area = [&](const char* text) { return areaFrom(text) & screen.rect(); };
    if (verb == "find" && count == 4)
        return !tell(ofColour(screen, area(words[2]), colourFrom(words[3])), area(words[2]), fewPixels);
    if (verb == "changed" && count == 4)
        return !tell(notAsIn(screen, area(words[2]), pictureFrom(words[3])), area(words[2]), 1);
    if (verb == "until" && count == 5)
        return !lookUntil(std::atoi(words[2]),
            [&] { return ofColour(screen, area(words[3]), colourFrom(words[4])).count >= fewPixels; });
    if (verb == "until-changed" && count == 6) {
        const QImage before = pictureFrom(words[4]);
        return !lookUntil(std::atoi(words[2]),
            [&] { return notAsIn(screen, area(words[3]), before).count >= std::atoi(words[5]); });
    }
    if (verb == "edges" && count == 3) {
        tellEdges(screen.picture(area(words[2])));
        return 0;
    }
    if (verb == "save" && count == 3)
        return !screen.picture(screen.rect()).save(QString::fromLocal8Bit(words[2]));
    if (verb == "grab" && count == 2)
        return !screen.grab();
    if (verb == "window" && count == 3)
        return !screen.showWindow(std::atoi(words[2]));
    std::fprintf(stderr, "HostScreen: what?\n");
    return 2;
}
