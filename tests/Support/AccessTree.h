#pragma once

#include "tests/Support/SessionBus.h"

#include <QList>
#include <QRect>
#include <QString>
#include <QStringList>
#include <QVariant>
#include <optional>

namespace kestrum {

/// An element that a program shows to assistive programs. Every call asks the program again, for at most three seconds. Calls
/// return empty values if the element is gone or was never found.
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

    bool isFound() const { return !m_path.isEmpty(); }

    /// The role in English, such as "check box", "push button", "combo box", "slider", "list item", "label".
    QString role() const;
    QString name() const;
    QString description() const;
    /// A bit for each state; `State` gives the bits' numbers.
    quint64 states() const;
    bool has(State state) const { return (states() >> int(state) & 1) != 0; }
    /// The value of a slider or another control with a number.
    std::optional<double> value() const;
    bool setValue(double value) const;
    QString text() const;
    /// In screen coordinates.
    QRect place() const;

    QList<Accessible> children() const;
    /// The first element below this one, in reading order, with that role and, if given, that name. Names are not unique: a
    /// control and its label have the same one, so the role is always needed.
    Accessible find(const QString& role, const std::optional<QString>& name = std::nullopt) const;
    /// All elements below this one with that role, in reading order.
    QList<Accessible> findAll(const QString& role) const;
    /// The text by which people know this element: its label's name, or else its own name.
    QString label() const;
    /// The element that this label belongs to. Find a combo box by its label: its own name is its current text.
    Accessible labelled() const;

    /// The names of the actions, such as "Press", "Toggle", "SetFocus", "ShowMenu".
    QStringList actions() const;
    /// Does the action with that name. False when there is none.
    bool act(const QString& action) const;
    bool focus() const;

    /// The id of the process that shows this element.
    qint64 process() const;

    /// A text with an indented line for this element and each one below it, for people and messages of failed tests.
    QString outline(int depth = 0) const;

    bool operator==(const Accessible&) const = default;

private:
    /// The first value of a method's reply, or a property's value; invalid without a reply.
    QVariant call(const char* interface, const char* method, const QVariantList& arguments = {}) const;
    QVariant property(const char* interface, const char* name) const;
    /// The first element to which this one has the relation with that number.
    Accessible related(quint32 number) const;

    QString m_service;
    QString m_path;
};

/// Reads other programs' accessibility trees as a screen reader does, on a private session bus and accessibility bus. Programs
/// on an X display join these buses if they start while this object exists. Construct it after the test's home and
/// `VirtualDisplay`. Do not ask the test's own process: it answers only from its event loop.
class AccessTree {
public:
    AccessTree();
    ~AccessTree();
    Q_DISABLE_COPY_MOVE(AccessTree)

    /// False, with a warning, when one of the buses did not start.
    bool isUp() const { return m_isUp; }

    /// The program with process id `pid`. Waits at most ten seconds for it.
    Accessible application(qint64 pid) const;

    /// What is above all programs of the session that this process is in, on that session's buses; nothing if there is no
    /// accessibility bus.
    static std::optional<Accessible> ofTheSession();

private:
    SessionBus m_session;
    bool m_isUp = false;
};

} // namespace kestrum
