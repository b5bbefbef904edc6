#pragma once

#include <QByteArray>
#include <QList>
#include <QProcess>
#include <QStringList>
#include <memory>
#include <utility>

namespace kestrum {

/// Runs other programs from tests, always with a time limit.
namespace Programs {

/// How long a test waits for another program, in ms: longer than anything takes on a busy machine with sanitizers. A wait ends
/// as soon as its condition holds. Tests do not use this limit to check how fast something happens.
inline constexpr int patience = 20'000;

/// Whether sanitizers slow the programs down, which makes time measurements meaningless.
#ifdef KESTRUM_SANITIZED
inline constexpr bool areSanitized = true;
#else
inline constexpr bool areSanitized = false;
#endif

/// The limit in ms for what must happen within a second.
inline constexpr int withinASecond = areSanitized ? patience : 1000;

/// How a program ended.
struct Ended {
    int code = -1; ///< the exit code; -1: the program did not end by itself, or not within `patience`
    QByteArray output;
    QByteArray errors;
    bool operator==(const Ended&) const = default;
};
/// Describes `ended` in the message of a failed comparison.
char* toString(const Ended& ended);

/// Environment variables that are set in addition to the test's own.
using Variables = QList<std::pair<const char*, QByteArray>>;
QProcessEnvironment environment(const Variables& variables);

/// Runs a program to its end, with `input` as its standard input.
Ended run(const QString& program, const QStringList& arguments, const Variables& variables = {},
    const QByteArray& input = {});

/// The output of `program`; empty, with a warning, when the program fails or takes longer than `patience`.
QByteArray output(const QString& program, const QStringList& arguments);

/// Starts a process. It is ended when the returned object is destroyed or this process ends.
std::unique_ptr<QProcess> started(const QString& program, const QStringList& arguments);

/// Waits for the end of a process, and kills it after `patience`. Returns the output since the last reads.
Ended ended(QProcess& process);

/// Ends a process, by force after `patience`.
void end(QProcess& process);

} // namespace Programs
} // namespace kestrum

/// Checks that a text has a part, and shows the text if not.
#define QVERIFY_CONTAINS(text, part) QVERIFY2((text).contains(part), QByteArray(text).constData())
