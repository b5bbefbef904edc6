#pragma once

#include "tests/Support/SessionBus.h"

#include <QList>
#include <QRect>
#include <QString>
#include <QStringList>
#include <optional>

namespace kestrum {

/// One thing that a program shows to assistive programs, asked anew at every call. Calls take three seconds at most; what is
/// gone, or was never found, answers with nothing.
class Accessible {
public:
    /// The numbers are those of the protocol.
    enum class State {
        checked = 4,
        collapsed = 5,
        editable = 7,
        enabled = 8,
        expandable = 9,
        expanded = 10,
        focusable = 11,
        focused = 12,
        selectable = 22,
        selected = 23,
        showing = 25,
        visible = 30,
        checkable = 41,
        readOnly = 43,
    };

    Accessible() = default;
    Accessible(QString service, QString path);

    /// Whether this was found at all.
    bool isFound() const { return !m_path.isEmpty(); }

    /// In English, as "check box", "push button", "combo box", "slider", "list item", "label".
    QString role() const;
    QString name() const;
    QString description() const;
    /// One bit for each, where its number says.
    quint64 states() const;
    bool has(State state) const { return (states() >> int(state) & 1) != 0; }
    /// Of sliders and the like.
    std::optional<double> value() const;
    bool setValue(double value) const;
    QString text() const;
    /// On the screen.
    QRect place() const;

    QList<Accessible> children() const;
    /// The first below this, in reading order, with that role and name; the name may be left open. Names are not unique: a
    /// control and its label share theirs, so the role is always given.
    Accessible find(const QString& role, const std::optional<QString>& name = std::nullopt) const;
    /// Everything below this with that role, in reading order.
    QList<Accessible> findAll(const QString& role) const;
    /// The text that names this to people: its label's, or else its own name.
    QString label() const;
    /// What this is the label of. A combo box is found so, as its own name is its current text.
    Accessible labelled() const;

    /// "Press", "Toggle", "SetFocus", "ShowMenu" and the like.
    QStringList actions() const;
    /// Does one of them. False where it is not there.
    bool act(const QString& action) const;
    bool focus() const;

    /// The id of the process that shows this.
    qint64 process() const;

    /// This and everything below, one indented line each: for looking at, and beside a test that fails.
    QString outline(int depth = 0) const;

    bool operator==(const Accessible&) const = default;

private:
    /// What stands in the relation of that number to this.
    Accessible related(quint32 number) const;

    QString m_service;
    QString m_path;
};

/// Looks at other programs as a screen reader does, on a session bus and an accessibility bus of the test's own. Programs that
/// are started while this lives show themselves there, if they are on an X display. Made after the test's home and its
/// `VirtualDisplay`; this test's own process had better not be asked about, since it answers only from its event loop.
class AccessTree {
public:
    AccessTree();
    ~AccessTree();
    Q_DISABLE_COPY_MOVE(AccessTree)

    /// False, with a warning, when one of the buses did not start.
    bool isUp() const { return m_isUp; }

    /// The program that runs as process `pid`, waited for during ten seconds at most.
    Accessible application(qint64 pid) const;

private:
    SessionBus m_session;
    bool m_isUp = false;
};

} // namespace kestrum
