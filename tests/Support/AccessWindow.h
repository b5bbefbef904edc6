#pragma once

#include "tests/Support/AccessTree.h"
#include "tests/Support/DesktopFixture.h"

#include <functional>

namespace kestrum {

/// The open window of a fixture's settings application. Tests use only keys, and read the window's accessibility tree. The
/// destructor ends the application.
class AccessWindow {
public:
    /// A place where the keyboard focus can stop. Its name consists of the surrounding groups, the role and the control's name,
    /// as in "CPU/combo box Readout".
    struct Stop {
        Accessible control;
        QString name;
        QRect place;
    };

    /// Returns when the window has the focus and is in the accessibility tree.
    AccessWindow(const DesktopFixture& fixture, const AccessTree& tree);
    ~AccessWindow() { Programs::end(*m_kestrum); }
    Q_DISABLE_COPY_MOVE(AccessWindow)

    bool isUp() const { return m_frame.isFound(); }
    const Accessible& application() const { return m_application; }
    const Accessible& frame() const { return m_frame; }

    /// Sends real key events, such as "ctrl+2" or "Tab".
    static void press(const char* keys);

    /// All elements that are shown in the window, in the tree's order.
    QList<Accessible> shown() const;
    /// All places where Tab has to stop, in reading order: by columns, then lines, then along the line. A group of segments is
    /// one stop, namely its chosen segment. A list is also one stop.
    QList<Stop> readingOrder() const;
    /// The stop that has the keyboard focus, or an empty one.
    Stop focus() const;
    /// Waits until the focus is at another stop than `last`, and returns that stop.
    Stop focusAfter(const Stop& last) const;
    /// Presses Tab until the stop with that name has the focus. Returns an element that is not found if Tab never reaches it.
    Accessible tabTo(const QString& name) const;
    /// The control with that name (see `Stop`), with or without the focus.
    Accessible control(const QString& name) const;

    /// The sidebar's row for a page.
    Accessible row(const char* page) const;

private:
    struct Found {
        Accessible control;
        QStringList groups;
        QString role;
        quint64 states;
    };
    using Judge = std::function<bool(const Found&)>;
    /// Visits the elements below `above` that can have the focus, in the tree's order, until `isEnough` returns true.
    static bool look(const Accessible& above, QStringList groups, const Judge& isEnough);
    static QString called(const Found& found);

    std::unique_ptr<QProcess> m_kestrum;
    Accessible m_application;
    Accessible m_frame;
};

} // namespace kestrum
