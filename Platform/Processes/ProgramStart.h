#pragma once

#include <QByteArray>
#include <QByteArrayList>
#include <QProcess>
#include <QString>
#include <optional>

namespace kestrum {

/// Starts a program apart from ours: in a session of its own, in "/", with nothing to read, no descriptor above 2, every
/// signal as it is by default. Its output and errors go where ours go, except into a pipe, whose reader
/// would wait for the program's end too, and nowhere where ours are closed.
namespace ProgramStart {

/// The program gets its own path as first word and then `arguments`; `environment` holds "NAME=value" entries, and is ours where it
/// is not given. Gives the id of the new process, a child of ours that has to be waited for;
/// nothing, with the system's reason in `error`, when the program cannot be executed. When it returns, the process table
/// shows the program already.
std::optional<qint32> start(const QByteArray& program, const QByteArrayList& arguments,
    const std::optional<QByteArrayList>& environment, QString* error);

/// For a program whose output we read: the one that `process` will start gets no descriptor above 2 either, and every signal as
/// it is by default. To be called before it is started.
void handOnNothing(QProcess& process);

} // namespace ProgramStart
} // namespace kestrum
