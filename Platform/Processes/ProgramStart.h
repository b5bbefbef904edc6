// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Log/Result.h"

#include <QByteArray>
#include <QByteArrayList>
#include <QMap>
#include <QProcess>

namespace kestrum {

/// Starts a program detached from ours: in its own session, in "/", with an empty standard input, no descriptor above 2, and
/// default signal handling. The program writes to our stdout and stderr. If one of them is closed or a pipe, the program gets
/// /dev/null instead: the reader of a pipe would wait for the program's end.
namespace ProgramStart {

/// Starts `program` with its own path and then `arguments` as words. It gets our environment variables without those named in
/// `removed`, and the variables `added`, which replace ours. Returns the id of the new process, a child that the caller must
/// wait for. When the call returns, the process table already shows the program, so that a second request finds it and does
/// not start another one.
Result<qint32> start(const QByteArray& program, const QByteArrayList& arguments,
    const QMap<QString, QString>& added = {}, const QByteArrayList& removed = {});

/// For programs whose output we read. Gives the program of `process` no descriptor above 2, and default signal handling. To be
/// called before the start.
void isolate(QProcess& process);

} // namespace ProgramStart
} // namespace kestrum
