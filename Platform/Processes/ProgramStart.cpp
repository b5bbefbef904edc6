// SPDX-License-Identifier: MIT
#include "Platform/Processes/ProgramStart.h"

#include <QStandardPaths>
#include <algorithm>
#include <csignal>
#include <fcntl.h>
#include <spawn.h>
#include <sys/stat.h>
#include <unistd.h>
#include <vector>

namespace kestrum {

namespace {

constexpr int firstOwnDescriptor = STDERR_FILENO + 1;
constexpr long mostDescriptors = 65536;

// The names of the variables that are this process's alone.
QByteArrayList& ownVariables()
{
    static QByteArrayList names;
    return names;
}

// Whether `output` (stdout or stderr) must be replaced by /dev/null. If `output` stayed closed, the program's next open() would
// get this number, and the program would write its output to that file.
bool needsReplacement(int output)
{
    struct stat state;
    const int flags = ::fcntl(output, F_GETFD);
    return flags < 0 || (flags & FD_CLOEXEC) != 0 || ::fstat(output, &state) != 0 || S_ISFIFO(state.st_mode);
}

// The setup of the new process before it executes the program.
class Preparation {
public:
    Preparation()
    {
        ::posix_spawn_file_actions_init(&m_actions);
        openNull(STDIN_FILENO, O_RDONLY);
        for (const int output : { STDOUT_FILENO, STDERR_FILENO }) {
            if (needsReplacement(output))
                openNull(output, O_WRONLY);
        }
        note(::posix_spawn_file_actions_addclosefrom_np(&m_actions, firstOwnDescriptor));
        note(::posix_spawn_file_actions_addchdir_np(&m_actions, "/"));

        ::posix_spawnattr_init(&m_attributes);
        sigset_t signals;
        sigfillset(&signals);
        note(::posix_spawnattr_setsigdefault(&m_attributes, &signals));
        sigemptyset(&signals);
        note(::posix_spawnattr_setsigmask(&m_attributes, &signals));
        note(::posix_spawnattr_setflags(
            &m_attributes, POSIX_SPAWN_SETSID | POSIX_SPAWN_SETSIGDEF | POSIX_SPAWN_SETSIGMASK));
    }
    ~Preparation()
    {
        ::posix_spawnattr_destroy(&m_attributes);
        ::posix_spawn_file_actions_destroy(&m_actions);
    }
    Q_DISABLE_COPY_MOVE(Preparation)

    int spawn(pid_t* pid, const char* program, char* const* arguments, char* const* environment) const
    {
        return m_error != 0 ? m_error
                            : ::posix_spawn(pid, program, &m_actions, &m_attributes, arguments, environment);
    }

private:
    void openNull(int descriptor, int flags)
    {
        note(::posix_spawn_file_actions_addopen(&m_actions, descriptor, "/dev/null", flags, 0));
    }
    void note(int error)
    {
        if (error != 0)
            m_error = error;
    }

    posix_spawn_file_actions_t m_actions {};
    posix_spawnattr_t m_attributes {};
    int m_error = 0;
};

// A null-terminated list for system calls. The pointers are valid as long as `texts` is unchanged.
std::vector<char*> pointers(QByteArrayList& texts)
{
    std::vector<char*> result;
    for (QByteArray& text : texts)
        result.push_back(text.data());
    result.push_back(nullptr);
    return result;
}

// This process's environment variables without its own and those named in `removed`, plus the variables `added`.
QByteArrayList environmentWith(const QMap<QString, QString>& added, QByteArrayList removed)
{
    removed += ownVariables();
    QByteArrayList result;
    for (auto variable = added.cbegin(); variable != added.cend(); ++variable) {
        removed.append(variable.key().toLocal8Bit());
        result.append(variable.key().toLocal8Bit() + '=' + variable.value().toLocal8Bit());
    }
    for (char** variable = environ; variable && *variable; ++variable) {
        const QByteArray entry(*variable);
        if (!removed.contains(entry.left(entry.indexOf('='))))
            result.append(entry);
    }
    return result;
}

// Runs between fork and exec, so only async-signal-safe calls are allowed.
void resetProcess()
{
    // Descriptors are marked for closing on exec, not closed now: QProcess needs one of them to report a failed exec.
    if (::close_range(firstOwnDescriptor, ~0U, CLOSE_RANGE_CLOEXEC) != 0) {
        // The kernel is older than 5.11. The loop is limited, because millions of descriptors would take too long.
        const long end = std::min(::sysconf(_SC_OPEN_MAX), mostDescriptors);
        for (int descriptor = firstOwnDescriptor; descriptor < end; ++descriptor)
            ::fcntl(descriptor, F_SETFD, FD_CLOEXEC);
    }
    for (int number = 1; number < NSIG; ++number)
        ::signal(number, SIG_DFL);
    sigset_t none;
    sigemptyset(&none);
    ::sigprocmask(SIG_SETMASK, &none, nullptr);
}

} // namespace

void ProgramStart::setOwnVariable(const char* name, const char* value)
{
    ownVariables().append(name);
    qputenv(name, value);
}

QString ProgramStart::find(const QString& program)
{
    QStringList folders = qEnvironmentVariable("PATH").split(u':', Qt::SkipEmptyParts);
    folders.removeIf([](const QString& folder) { return !folder.startsWith(u'/'); });
    // With an empty list, the toolkit would look in all of PATH.
    if (folders.isEmpty() && !program.startsWith(u'/'))
        return {};
    return QStandardPaths::findExecutable(program, folders);
}

void ProgramStart::isolate(QProcess& process)
{
    process.setChildProcessModifier(resetProcess);
}

Result<qint32> ProgramStart::start(const QByteArray& program, const QByteArrayList& arguments,
    const QMap<QString, QString>& added, const QByteArrayList& removed)
{
    QByteArrayList words = QByteArrayList { program } + arguments;
    QByteArrayList environment = environmentWith(added, removed);
    pid_t pid = 0;
    const int result = Preparation().spawn(
        &pid, program.constData(), pointers(words).data(), pointers(environment).data());
    if (result != 0)
        return Failure::fromErrno("start", result);
    return pid;
}

} // namespace kestrum
