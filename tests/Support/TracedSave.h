#pragma once

#include <QByteArray>
#include <QByteArrayList>
#include <QList>
#include <QString>
#include <QStringList>

namespace kestrum {

/// A save under strace. The child is the test program itself, which gets the name of a part as its argument. A first run
/// lists the system calls between two marks. Then further runs make each of these calls fail, or end the process at it. So no
/// call can be forgotten, and the store needs no code for its tests.
class TracedSave {
public:
    struct Call {
        QByteArray name;
        int number;      ///< how many calls of that name the process has made, with this one
        QByteArray line; ///< in strace's format, with a path after each descriptor
    };

    struct Outcome {
        QList<Call> calls; ///< between the marks
        int exitCode = -1; ///< -1: ended by a signal
        QString error;

        /// The names of the files that were flushed to disk, in order; "temporary" for a file that has no name yet.
        QByteArrayList flushed() const;
    };

    /// The child's exit code after a save that failed and reported an error.
    static constexpr int reportedFailure = 10;

    /// Call this first in `main`. Runs the part that the arguments name, and gives its exit code; -1 when they name none.
    static int played(int argc, char** argv);

    /// Why tracing is impossible here; empty when it is possible.
    static QString obstacle();

    /// Makes the settings directory anew, with a file of that content, or without a file when `content` is null.
    static void prepare(const QByteArray& content);

    /// Runs `part` ("save", "save-twice", "read"). `injection` is in strace's format, such as "CALL:error=EIO:when=3".
    static Outcome run(const char* part, const QByteArray& injection = {});

    /// Checks the state after `prepare(before)` and a run: the file is the old or the new one, as the child reported, and the
    /// next save succeeds at once. Gives the fault, or an empty text.
    static QString flaw(const QByteArray& before, const Outcome& outcome, const QByteArray& injection);

    static QString path();
    static QByteArray content();
    static QStringList leftovers();

    /// Adds test rows with the initial states of the file that every fault is tried on, in a column "before".
    static void addStates();
};

} // namespace kestrum
