// SPDX-License-Identifier: MIT
#include "Platform/Desktop/X11Struts.h"

#include "Platform/Desktop/XcbReply.h"

#include <QGuiApplication>
#include <QScreen>
#include <QWindow>
#include <algorithm>
#include <array>
#include <chrono>
#include <cmath>
#include <qguiapplication_platform.h>
#include <utility>

namespace kestrum {

namespace {

constexpr std::chrono::milliseconds delayOfNotice { 50 };
constexpr uint32_t mostNumbers = 4096; ///< the maximum that is read from one property

/// The depths of all reservations that this process has ever made: the window manager may still tell an earlier one.
QSet<int>& ownDepths()
{
    static QSet<int> depths;
    return depths;
}

/// The windows that this process reserves room for. While screens change, two of them may be on one screen: each would take the
/// other for a panel, and both would move down in turn.
QSet<quint32>& ownWindows()
{
    static QSet<quint32> windows;
    return windows;
}

/// The numbers of a requested property; empty if the window has no such property or no longer exists.
QList<qint32> numbersOf(xcb_connection_t* connection, xcb_get_property_cookie_t cookie)
{
    const XcbReply<xcb_get_property_reply_t> reply(xcb_get_property_reply(connection, cookie, nullptr));
    if (!reply || reply->format != 32)
        return {};
    const auto* first = static_cast<const qint32*>(xcb_get_property_value(reply.get()));
    return { first, first + xcb_get_property_value_length(reply.get()) / int(sizeof(qint32)) };
}

xcb_get_property_cookie_t ask(xcb_connection_t* connection, quint32 window, quint32 property)
{
    return xcb_get_property(connection, 0, window, property, XCB_ATOM_ANY, 0, mostNumbers);
}

/// Limits `number` to the range of display coordinates, because a program may write any number into a property.
int coordinate(qint32 number)
{
    return std::clamp(number, 0, 0x7fff);
}

/// Appends the struts in `numbers`. The first four numbers are the depths at the left, right, top and bottom edge.
/// Further numbers are pairs: the first and last pixel along each edge. Without a valid pair, the whole edge is taken.
void append(QList<X11Struts::Strut>& struts, const QList<qint32>& numbers, QSize display)
{
    constexpr std::array edges { Qt::LeftEdge, Qt::RightEdge, Qt::TopEdge, Qt::BottomEdge };
    for (int i = 0; i < int(edges.size()); ++i) {
        const int depth = coordinate(numbers[i]);
        if (depth == 0)
            continue;
        const bool isUpright = edges[size_t(i)] == Qt::LeftEdge || edges[size_t(i)] == Qt::RightEdge;
        int first = coordinate(numbers.value(4 + 2 * i));
        int last = coordinate(numbers.value(5 + 2 * i));
        if (last <= first) {
            first = 0;
            last = (isUpright ? display.height() : display.width()) - 1;
        }
        const int length = last - first + 1;
        QRect room = isUpright ? QRect(0, first, depth, length) : QRect(first, 0, length, depth);
        if (edges[size_t(i)] == Qt::RightEdge)
            room.moveRight(display.width() - 1);
        if (edges[size_t(i)] == Qt::BottomEdge)
            room.moveBottom(display.height() - 1);
        struts.append({ edges[size_t(i)], room });
    }
}

/// The screen in device pixels. The toolkit gives its top left corner in device pixels, but sizes and distances in points.
QRect pixelsOf(const QScreen& screen)
{
    return { screen.geometry().topLeft(),
        (QSizeF(screen.geometry().size()) * screen.devicePixelRatio()).toSize() };
}

} // namespace

QRect X11Struts::rest(const QRect& screen, const QList<Strut>& struts)
{
    QRect rest = screen;
    for (const Strut& strut : struts) {
        const QRect taken = strut.room & screen;
        const bool isUpright = strut.edge == Qt::LeftEdge || strut.edge == Qt::RightEdge;
        const int along = isUpright ? taken.height() : taken.width();
        const int depth = isUpright ? taken.width() : taken.height();
        if (along < 2 || depth >= (isUpright ? screen.width() : screen.height()))
            continue;
        if (strut.edge == Qt::LeftEdge)
            rest.setLeft(std::max(rest.left(), taken.right() + 1));
        else if (strut.edge == Qt::RightEdge)
            rest.setRight(std::min(rest.right(), taken.left() - 1));
        else if (strut.edge == Qt::TopEdge)
            rest.setTop(std::max(rest.top(), taken.bottom() + 1));
        else
            rest.setBottom(std::min(rest.bottom(), taken.top() - 1));
    }
    return rest.isEmpty() ? screen : rest;
}

std::optional<X11Struts::Strut> X11Struts::topStrut(const QRect& window, const QList<QRect>& screens)
{
    const QRect room(window.left(), 0, window.width(), window.bottom() + 1);
    for (const QRect& screen : screens) {
        if (!screen.intersects(window) && screen.intersects(room))
            return std::nullopt;
    }
    return Strut { Qt::TopEdge, room };
}

X11Struts::X11Struts()
{
    const auto* x11 = qGuiApp->nativeInterface<QNativeInterface::QX11Application>();
    // On Qt's platform without a display, this interface exists, but its connection is null.
    if (!x11 || !x11->connection())
        return;
    m_connection = x11->connection();
    m_root = xcbScreen(m_connection)->root;
    m_strut = xcbAtom(m_connection, "_NET_WM_STRUT");
    m_partialStrut = xcbAtom(m_connection, "_NET_WM_STRUT_PARTIAL");
    m_clients = xcbAtom(m_connection, "_NET_CLIENT_LIST");
    m_workArea = xcbAtom(m_connection, "_NET_WORKAREA");
    m_desktop = xcbAtom(m_connection, "_NET_CURRENT_DESKTOP");
    m_pause.setSingleShot(true);
    m_pause.setInterval(delayOfNotice);
    connect(&m_pause, &QTimer::timeout, this, &X11Struts::changed);
    qGuiApp->installNativeEventFilter(this);
}

X11Struts::X11Struts(const QWindow& window)
    : X11Struts()
{
    if (!m_connection)
        return;
    m_window = quint32(window.winId());
    ownWindows().insert(m_window);
}

X11Struts::~X11Struts()
{
    ownWindows().remove(m_window);
}

QRect X11Struts::available(const QScreen& screen)
{
    if (!m_connection)
        return screen.availableGeometry();
    const double scale = screen.devicePixelRatio();
    const QRect geometry = screen.geometry();
    const QRect pixels = pixelsOf(screen);
    const QRect others = rest(pixels, struts());
    QRect told = desktopsWord(pixels, screen.virtualSiblings().size() == 1);
    told.setTop(topOfOthers(told.top(), others.top(), pixels));
    const QRect free = (others & told).isEmpty() ? others : others & told;
    const auto points = [scale](int distance) { return int(std::ceil(distance / scale)); };
    return geometry.adjusted(points(free.left() - pixels.left()), points(free.top() - pixels.top()),
        -points(pixels.right() - free.right()), -points(pixels.bottom() - free.bottom()));
}

/// What the desktop tells includes the window's own reservation: without this function, the window would move down for ever.
/// `told` is the upper end of the free area as the desktop tells it, and `top` as the struts of others say. Where the own
/// reservation hides the rest, the value that was told last without it holds.
int X11Struts::topOfOthers(int told, int top, const QRect& screen)
{
    if (std::exchange(m_toldScreen, screen) != screen)
        m_managersTop = screen.top();
    if (!ownDepths().contains(told))
        m_managersTop = told;
    if (top >= m_managersTop)
        m_managersTop = screen.top(); // it was a panel's strut, which goes with the panel
    return m_managersTop;
}

void X11Struts::reserve(const QScreen& screen, const QRect& place)
{
    if (!m_window)
        return;
    std::optional<Strut> strut;
    if (!place.isEmpty()) {
        QList<QRect> screens;
        for (const QScreen* each : screen.virtualSiblings())
            screens.append(pixelsOf(*each));
        const double scale = screen.devicePixelRatio();
        const QPoint corner = screen.geometry().topLeft();
        const QRectF fromCorner(QPointF(place.topLeft() - corner) * scale, QSizeF(place.size()) * scale);
        strut = topStrut(fromCorner.toAlignedRect().translated(corner), screens);
    }
    const QRect before = m_reserved ? m_reserved->room : QRect();
    const QRect now = strut ? strut->room : QRect();
    m_reserved = strut;
    if (now == before)
        return;
    if (now.isEmpty()) {
        xcb_delete_property(m_connection, m_window, m_partialStrut);
        xcb_delete_property(m_connection, m_window, m_strut);
    } else {
        ownDepths().insert(now.height());
        const std::array numbers { 0, 0, now.height(), 0, 0, 0, 0, 0, now.left(), now.right(), 0, 0 };
        xcb_change_property(m_connection, XCB_PROP_MODE_REPLACE, m_window, m_partialStrut, XCB_ATOM_CARDINAL,
            32, uint32_t(numbers.size()), numbers.data());
        xcb_change_property(
            m_connection, XCB_PROP_MODE_REPLACE, m_window, m_strut, XCB_ATOM_CARDINAL, 32, 4, numbers.data());
    }
    xcb_flush(m_connection);
}

QList<X11Struts::Strut> X11Struts::struts()
{
    const XcbReply<xcb_get_geometry_reply_t> root(
        xcb_get_geometry_reply(m_connection, xcb_get_geometry(m_connection, m_root), nullptr));
    if (!root)
        return {};
    struct Asked {
        quint32 window;
        xcb_get_property_cookie_t partial;
        xcb_get_property_cookie_t whole;
    };
    // All requests are sent before the first answer is awaited.
    QList<Asked> asked;
    for (const quint32 window : topWindows()) {
        if (m_window == 0 || !ownWindows().contains(window))
            asked.append(
                { window, ask(m_connection, window, m_partialStrut), ask(m_connection, window, m_strut) });
    }
    QList<Strut> result;
    QSet<quint32> panels;
    for (const Asked& question : asked) {
        const QList<qint32> partial = numbersOf(m_connection, question.partial);
        const QList<qint32> whole = numbersOf(m_connection, question.whole);
        if (partial.size() < 12 && whole.size() < 4)
            continue;
        append(result, partial.size() < 12 ? whole.first(4) : partial, QSize(root->width, root->height));
        panels.insert(question.window);
        if (m_panels.contains(question.window))
            continue;
        // The panel's property events are needed, because some window managers report no change while the free rectangle
        // of the whole display stays the same.
        const uint32_t mask = XCB_EVENT_MASK_PROPERTY_CHANGE;
        const auto request
            = xcb_change_window_attributes_checked(m_connection, question.window, XCB_CW_EVENT_MASK, &mask);
        xcb_discard_reply(m_connection, request.sequence); // the window may be gone by now
    }
    m_panels = panels;
    return result;
}

QList<quint32> X11Struts::topWindows() const
{
    QList<quint32> result;
    for (const qint32 client : numbersOfRoot(m_clients))
        result.append(quint32(client));
    if (!result.isEmpty())
        return result;
    // The list is missing or empty, e.g. without a window manager. Then the result is all visible windows.
    const XcbReply<xcb_query_tree_reply_t> tree(
        xcb_query_tree_reply(m_connection, xcb_query_tree(m_connection, m_root), nullptr));
    if (!tree)
        return {};
    const xcb_window_t* const first = xcb_query_tree_children(tree.get());
    const QList<quint32> children(first, first + xcb_query_tree_children_length(tree.get()));
    QList<xcb_get_window_attributes_cookie_t> asked;
    for (const quint32 child : children)
        asked.append(xcb_get_window_attributes(m_connection, child));
    for (int i = 0; i < children.size(); ++i) {
        const XcbReply<xcb_get_window_attributes_reply_t> attributes(
            xcb_get_window_attributes_reply(m_connection, asked[i], nullptr));
        if (attributes && attributes->map_state == XCB_MAP_STATE_VIEWABLE)
            result.append(children[i]);
    }
    return result;
}

/// Returns the free part of `screen` that the desktop itself publishes, or `screen` if there is no such value. Needed for
/// desktops whose panel is not a window, and for the space that the window manager itself reserves: this value is right only
/// for the only screen, because it is one rectangle for all.
QRect X11Struts::desktopsWord(const QRect& screen, bool isOnly)
{
    const int desktop = numbersOfRoot(m_desktop).value(0);
    m_desktopsWorkAreas = xcbAtom(m_connection, "_GTK_WORKAREAS_D" + QByteArray::number(desktop));
    const auto area = [](const QList<qint32>& numbers, qsizetype at) {
        return QRect(numbers[at], numbers[at + 1], numbers[at + 2], numbers[at + 3]);
    };
    QRect word = screen;
    const QList<qint32> ofScreens = numbersOfRoot(m_desktopsWorkAreas);
    for (qsizetype i = 0; i + 3 < ofScreens.size(); i += 4) {
        if (!area(ofScreens, i).isEmpty() && screen.contains(area(ofScreens, i))) {
            word = area(ofScreens, i);
            break;
        }
    }
    const QList<qint32> ofDesktops = isOnly ? numbersOfRoot(m_workArea) : QList<qint32>();
    for (const qsizetype at : { qsizetype(desktop) * 4, qsizetype(0) }) {
        if (at < 0 || at + 3 >= ofDesktops.size())
            continue;
        word &= area(ofDesktops, at);
        break;
    }
    return word.isEmpty() ? screen : word;
}

QList<qint32> X11Struts::numbersOfRoot(quint32 property) const
{
    return numbersOf(m_connection, ask(m_connection, m_root, property));
}

bool X11Struts::nativeEventFilter(const QByteArray& eventType, void* message, qintptr*)
{
    if (eventType != "xcb_generic_event_t")
        return false;
    const auto* event = static_cast<const xcb_generic_event_t*>(message);
    constexpr uint8_t sentByOthers = 0x80;
    if ((event->response_type & ~sentByOthers) != XCB_PROPERTY_NOTIFY)
        return false;
    const auto* property = reinterpret_cast<const xcb_property_notify_event_t*>(event);
    const auto isOneOf = [property](std::initializer_list<quint32> names) {
        return std::find(names.begin(), names.end(), property->atom) != names.end();
    };
    const bool isOfInterest = property->window == m_root
        ? isOneOf({ m_clients, m_workArea, m_desktop, m_desktopsWorkAreas })
        : m_panels.contains(property->window) && isOneOf({ m_strut, m_partialStrut });
    if (isOfInterest && !m_pause.isActive())
        m_pause.start();
    return false;
}

} // namespace kestrum
