#include "tests/Support/AccessWindow.h"

#include "tests/Support/VirtualDisplay.h"

#include <algorithm>

namespace kestrum {

using State = Accessible::State;
using Programs::patience;

namespace {

constexpr int mostStops = 60;
constexpr int sameLine = 8; ///< in px: the largest distance between the middles of controls on one line

bool isIn(quint64 states, State state)
{
    return (states >> int(state) & 1) != 0;
}

/// Appends all shown elements below `above`, in the tree's order, without the entries of a closed picker.
void collect(const Accessible& above, QList<Accessible>& all)
{
    const QList<Accessible> below = above.children();
    for (const Accessible& child : below) {
        const quint64 states = child.states();
        if (!isIn(states, State::showing))
            continue;
        all.append(child);
        if (!isIn(states, State::readOnly))
            collect(child, all);
    }
}

} // namespace

AccessWindow::AccessWindow(const DesktopFixture& fixture, const AccessTree& tree)
    : m_kestrum(Programs::started(fixture.program("Kestrum"), {}))
    , m_application(tree.application(m_kestrum->processId()))
{
    const QByteArray window = DesktopFixture::windowOf(m_kestrum->processId());
    const bool isThere = QTest::qWaitFor(
        [this, &window] {
            if (DesktopFixture::activeWindow() != window)
                return false;
            m_frame = m_application.find(text("frame"), text("Kestrum"));
            return m_frame.isFound() && focus().control.isFound();
        },
        patience);
    if (!isThere)
        m_frame = {};
}

void AccessWindow::press(const char* keys)
{
    VirtualDisplay::xdotool("key", words(keys));
}

QList<Accessible> AccessWindow::shown() const
{
    QList<Accessible> all;
    collect(m_frame, all);
    return all;
}

bool AccessWindow::look(const Accessible& above, QStringList groups, const Judge& isEnough)
{
    const QList<Accessible> below = above.children();
    for (const Accessible& child : below) {
        const quint64 states = child.states();
        // Elements below a text are skipped.
        if (!isIn(states, State::showing) || isIn(states, State::readOnly))
            continue;
        const bool isFocusable = isIn(states, State::focusable);
        const QString role = isFocusable || isIn(states, State::enabled) ? child.role() : QString();
        if (isFocusable && isIn(states, State::enabled) && isEnough({ child, groups, role, states }))
            return true;
        if (isFocusable && role != text("list"))
            continue;
        const QString name = role == text("panel") ? child.name() : QString();
        if (look(child, name.isEmpty() ? groups : groups + QStringList(name), isEnough))
            return true;
    }
    return false;
}

QString AccessWindow::called(const Found& found)
{
    return (found.groups + QStringList(found.role + u' ' + found.control.label())).join(u'/');
}

QList<AccessWindow::Stop> AccessWindow::readingOrder() const
{
    const Accessible splitter = m_frame.find(text("splitter"));
    QList<QRect> columns;
    for (const Accessible& column : splitter.children()) {
        if (column.role() == text("filler"))
            columns.append(column.place());
    }
    if (columns.size() != 2)
        return {};
    // The sidebar is the narrower column. In left-to-right layouts it is on the left.
    const bool isFromRight = (columns[0].width() < columns[1].width()) == (columns[0].x() > columns[1].x());
    const auto isEarlier = [isFromRight](const QRect& a, const QRect& b) {
        return isFromRight ? a.center().x() > b.center().x() : a.center().x() < b.center().x();
    };
    std::sort(columns.begin(), columns.end(), isEarlier);

    QList<QList<Stop>> inColumn(columns.size());
    look(m_frame, {}, [&](const Found& one) {
        if (one.role == text("list item")
            || (one.role == text("radio button") && !isIn(one.states, State::checked)))
            return false;
        const Stop stop { one.control, called(one), one.control.place() };
        for (int i = 0; i < columns.size(); ++i) {
            const int middle = stop.place.center().x();
            if (middle >= columns[i].left() && middle <= columns[i].right())
                inColumn[i].append(stop);
        }
        return false;
    });
    QList<Stop> order;
    for (QList<Stop>& column : inColumn) {
        std::sort(column.begin(), column.end(),
            [](const Stop& a, const Stop& b) { return a.place.center().y() < b.place.center().y(); });
        for (auto begin = column.begin(); begin != column.end();) {
            const int line = begin->place.center().y();
            const auto end = std::find_if(begin, column.end(),
                [line](const Stop& stop) { return stop.place.center().y() > line + sameLine; });
            std::sort(begin, end, [&](const Stop& a, const Stop& b) { return isEarlier(a.place, b.place); });
            begin = end;
        }
        order += column;
    }
    return order;
}

AccessWindow::Stop AccessWindow::focus() const
{
    Stop stop;
    look(m_frame, {}, [&stop](const Found& one) {
        // In the toolkit, the current row of every list is focused, even when its list is not.
        if (one.role == text("list item") || !isIn(one.states, State::focused))
            return false;
        stop = { one.control, called(one), one.control.place() };
        return true;
    });
    return stop;
}

AccessWindow::Stop AccessWindow::focusAfter(const Stop& last) const
{
    Stop now;
    const bool hasMoved = QTest::qWaitFor(
        [&] {
            now = focus();
            return now.control.isFound() && now.control != last.control;
        },
        patience);
    return hasMoved ? now : Stop();
}

Accessible AccessWindow::tabTo(const QString& name) const
{
    Stop now = focus();
    for (int i = 0; i < mostStops && now.control.isFound(); ++i) {
        if (now.name == name)
            return now.control;
        press("Tab");
        now = focusAfter(now);
    }
    return {};
}

Accessible AccessWindow::control(const QString& name) const
{
    Accessible control;
    look(m_frame, {}, [&](const Found& one) {
        if (called(one) == name)
            control = one.control;
        return control.isFound();
    });
    return control;
}

Accessible AccessWindow::row(const char* page) const
{
    return m_frame.find(text("list item"), text(page));
}

} // namespace kestrum
