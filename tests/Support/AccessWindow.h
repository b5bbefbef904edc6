#pragma once

#include "tests/Support/AccessTree.h"
#include "tests/Support/DesktopFixture.h"

#include <functional>

namespace kestrum {

/// The settings application of a fixture with its window, worked by keys alone and seen through its accessibility tree. It ends
/// with this.
class AccessWindow {
public:
    /// A place where the keyboard can stop, and how one would call it: "CPU/combo box Readout", with the groups around it.
    struct Stop {
        Accessible control;
        QString name;
        QRect place;
    };

    /// Returns when the window has the focus and shows itself to assistive programs.
    AccessWindow(const DesktopFixture& fixture, const AccessTree& tree);
    ~AccessWindow() { Programs::end(*m_kestrum); }
    Q_DISABLE_COPY_MOVE(AccessWindow)

    bool isUp() const { return m_frame.isFound(); }
    const Accessible& application() const { return m_application; }
    const Accessible& frame() const { return m_frame; }

    /// Real keys, as "ctrl+2" or "Tab".
    static void press(const char* keys);

    /// Everything that is shown in the window and what is in it, in the tree's order.
    QList<Accessible> shown() const;
    /// Every place where Tab has to stop, in the order in which one reads: column by column, line by line, along the line. A group
    /// of segments is one place, namely the chosen one, and so is a list.
    QList<Stop> readingOrder() const;
    /// Where the keyboard is, or nothing.
    Stop focus() const;
    /// The same, once it is another than `last`.
    Stop focusAfter(const Stop& last) const;
    /// Presses Tab until the keyboard is at the stop of that name. Not found where Tab does not come by.
    Accessible tabTo(const QString& name) const;
    /// The control of that name as in `Stop`, wherever the keyboard is.
    Accessible control(const QString& name) const;

    /// The page's row at the side.
    Accessible row(const char* page) const;

private:
    struct Found {
        Accessible control;
        QStringList groups;
        QString role;
        quint64 states;
    };
    using Judge = std::function<bool(const Found&)>;
    /// Goes through what can have the focus below `above`, in the tree's order, until a judge has enough.
    static bool look(const Accessible& above, QStringList groups, const Judge& isEnough);
    static QString called(const Found& found);

    std::unique_ptr<QProcess> m_kestrum;
    Accessible m_application;
    Accessible m_frame;
};

} // namespace kestrum
