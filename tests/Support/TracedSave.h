#pragma once

#include <QByteArray>
#include <QByteArrayList>
#include <QList>
#include <QString>
#include <QStringList>
#include <functional>

namespace kestrum {

class UserDefaults;

/// A save in a child process that lists its system calls. A first run lists them. Then further runs make each of these calls
/// fail, or end the process at it. So no call can be forgotten, and the store needs no code for its tests.
class TracedSave {
public:
    struct Call {
        QByteArray name;  ///< such as "openat"; the call's number if no test asks for its name
        int number;       ///< how many calls of that name there were, with this one
        QByteArray file;  ///< the path of the call's file; empty if it has none
        bool isInherited; ///< for `openat`: a program that is started later would get the descriptor
    };

    struct Fault {
        QByteArray call;
        int number = 1;         ///< which call of that name
        int error = 0;          ///< an `errno`; 0 kills the process at that call
        bool isLasting = false; ///< all later calls of that name fail, too
    };

    struct Outcome {
        QList<Call> calls; ///< empty if the process was killed
        int exitCode = -1; ///< -1: killed
        QString error;     ///< the store's last error

        /// The place in `calls` of the first call of that name whose file's path ends in `end`.
        qsizetype indexOf(const char* name, const char* end) const;
        /// The names of the files that were flushed to disk, in order; "temporary" for a file that has no name yet.
        QByteArrayList flushed() const;
    };

    /// The child's exit code after a save that failed and reported an error.
    static constexpr int reportedFailure = 10;
    /// The child's exit code where the kernel does not let a process watch its system calls.
    static constexpr int unsupported = 11;

    /// Why no program can be run under strace here, which tests of other programs use; empty when it can.
    static QString obstacle();

    /// Makes the settings directory anew, with a file of that content, or without a file when `content` is null.
    static void prepare(const QByteArray& content);

    using Work = std::function<bool(UserDefaults& store)>;
    /// Stores 2 under "a".
    static bool save(UserDefaults& store);
    /// Runs `work` in a child process with the suite opened. `work` gives whether it succeeded.
    static Outcome run(const Work& work, const Fault& fault);
    static Outcome run(const Work& work = save) { return run(work, Fault()); }

    /// Checks the state after `prepare(before)` and a run: the file is the old or the new one, as the child reported, and the
    /// next save succeeds at once. Gives the fault, or an empty text.
    static QByteArray flaw(const QByteArray& before, const Outcome& outcome);

    static QString path();
    static QStringList leftovers();

    /// Adds test rows with the initial states of the file that every fault is tried on, in a column "before".
    static void addStates();
};

} // namespace kestrum
