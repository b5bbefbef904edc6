// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Log/Result.h"

#include <QByteArray>
#include <QByteArrayList>
#include <QMap>
#include <QProcess>
#include <QString>

namespace kestrum {

/// Starts a program detached from this process: in its own session, in the directory "/", with an empty standard input, no
/// descriptor above 2, and default signal handling. The program inherits stdout and stderr. A closed descriptor or a pipe is
/// replaced by /dev/null: the reader of a pipe would otherwise wait for the program's end.
namespace ProgramStart {

/// Sets an environment variable for this process alone: programs that `start` starts do not get it. Call it before there are
/// threads; `name` must live as long as the process.
void setOwnVariable(const char* name, const char* value);

/// Starts the program at the path `program` with `arguments`. The program gets this process's environment without the variables
/// named in `removed`. The variables `added` are added, or replace variables of the same name. Returns the id of the new
/// process, a child that the caller must wait for. At the return, the process table already shows the program, so a second
/// request can find it.
Result<qint32> start(const QByteArray& program, const QByteArrayList& arguments,
    const QMap<QString, QString>& added = {}, const QByteArrayList& removed = {});

/// The full path of `program`, a name to be found in PATH or a full path; empty if it is not installed. Only folders that PATH
/// names in full count: others depend on the current folder, where somebody else may have put a program.
QString find(const QString& program);

/// For programs whose output this process reads. Makes `process` start its program with no descriptor above 2 and with default
/// signal handling. Call this before the start.
void isolate(QProcess& process);

} // namespace ProgramStart
} // namespace kestrum
