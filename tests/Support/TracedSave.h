#pragma once

#include <QByteArray>
#include <QByteArrayList>
#include <QList>
#include <QString>
#include <QStringList>

namespace kestrum {

/// A save under strace. The test program, run again with the name of a part to play, is the child: a first run
/// lists the system calls between two marks, then each of them is made to fail, or is the last one, in a run of its own. So
/// no call can be forgotten, and the store needs no code for its tests.
class TracedSave {
public:
    struct Call {
        QByteArray name;
        int number;      ///< the how-manieth of its name since the process began
        QByteArray line; ///< as strace writes it, with the path of each descriptor behind it
    };

    struct Outcome {
        QList<Call> calls; ///< between the marks
        int exitCode = -1; ///< -1: ended by a signal
        QString error;

        /// The names of what was brought to disk, in that order; "temporary" for a file that has no name of its own yet.
        QByteArrayList flushed() const;
    };

    /// The exit code of a child whose save has failed and said so.
    static constexpr int reportedFailure = 10;

    /// To be asked first in `main`: plays the part that the arguments name, and gives the exit code; -1 when they name
    /// none.
    static int played(int argc, char** argv);

    /// Why nothing can be traced here; empty when it can.
    static QString obstacle();

    /// Makes the settings directory anew with a file of that content, or without a file when it is null.
    static void prepare(const QByteArray& content);

    /// Runs `part` ("save", "save-twice", "read"); `injection` is strace's, "CALL:error=EIO:when=3".
    static Outcome run(const char* part, const QByteArray& injection = {});

    /// After `prepare(before)` and a run: the file is the old or the new one and agrees with what the child told, and
    /// the next save succeeds at once. Empty, or what is wrong.
    static QString flaw(const QByteArray& before, const Outcome& outcome, const QByteArray& injection);

    static QString path();
    static QByteArray content();
    static QStringList leftovers();

    /// The states of the file that every fault is tried on, as rows of a test with a column "before".
    static void addStates();
};

} // namespace kestrum
