#pragma once

#include <QByteArray>
#include <QByteArrayList>
#include <QList>
#include <QString>
#include <QStringList>
#include <functional>

namespace kestrum {

class UserDefaults;

/// A save in a child process that lists its system calls. A first run has no fault. Then each further run makes one of the
/// listed calls fail, or kills the process at this call. So no call is forgotten, and the store needs no code for its tests.
class TracedSave {
public:
    /// In the place of an exit code: what a fault has killed, and what ended otherwise without one, such as by its own time limit.
    static constexpr int killed = -1;
    static constexpr int crashed = -2;

    struct Call {
        QByteArray name;  ///< such as "openat"; the call's number if no test asks for its name
        int number;       ///< which call of that name this is, counted from 1
        QByteArray file;  ///< the path of the call's file; empty if it has none
        bool isInherited; ///< for `openat`: programs that are started later inherit the descriptor
        /// What `write` writes; where a rename comes from; for `openat`, "new" if it may make the file, "empty" if it empties it.
        QByteArray detail;
    };

    struct Fault {
        QByteArray call;
        int number = 1;         ///< which call of that name
        int error = 0;          ///< an `errno`; 0 kills the process at that call
        bool isLasting = false; ///< all later calls of that name fail, too
        /// Runs right before that call, which then succeeds: what another program does in the meantime.
        std::function<void()> meanwhile = {};
    };

    struct Outcome {
        QList<Call> calls;      ///< empty if the process was killed
        int exitCode = crashed; ///< or `killed`
        QString error;          ///< the store's last error

        /// The index in `calls` of the first call of that name whose file's path ends in `end`; the size of `calls` for none.
        qsizetype indexOf(const char* name, const char* end) const;
        /// The names of the files that were flushed to disk, in order; "temporary" for a file that has no name yet.
        QByteArrayList flushed() const;
    };

    /// The child's exit code after a save that failed and reported an error.
    static constexpr int reportedFailure = 10;
    /// The child's exit code where the kernel does not let a process watch its system calls.
    static constexpr int unsupported = 11;

    /// Why strace can run no program on this machine; empty when it can. Tests of other programs use strace.
    static QString obstacle();

    /// Creates the settings directory again, with a file of this content, or without a file when `content` is null.
    static void prepare(const QByteArray& content);
    /// Makes the settings directory old. Otherwise an absent file in it would look like one that is being replaced.
    static void letPass();

    using Work = std::function<bool(UserDefaults& store)>;
    /// Stores 2 under "a".
    static bool save(UserDefaults& store);
    /// Runs `work` in a child process with the suite opened. `work` returns whether it succeeded.
    static Outcome run(const Work& work, const Fault& fault);
    static Outcome run(const Work& work = save) { return run(work, Fault()); }

    /// Checks the state after `prepare(before)` and a run: the file is the old or the new one, as the child reported, and the
    /// next save succeeds at once. Returns the fault, or an empty text.
    static QByteArray flaw(const QByteArray& before, const Outcome& outcome);

    static QString path();
    static QStringList leftovers();

    /// Adds the initial states of the file to a test, in a column "before". Tests try every fault on each state. The long form
    /// has more of them.
    static void addStates();
};

} // namespace kestrum
