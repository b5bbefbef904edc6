// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Log/Result.h"

#include <QByteArray>
#include <QByteArrayList>
#include <QProcess>
#include <optional>

namespace kestrum {

/// Starts a program detached from ours: in its own session, in "/", with an empty standard input, no descriptor above 2, and
/// default signal handling. It writes to our stdout and stderr. If one of ours is closed or a pipe, it gets /dev/null: the
/// reader of a pipe would wait for the program's end.
namespace ProgramStart {

/// The program's first word is its own path, then come `arguments`. `environment` holds "NAME=value" entries; ours is used if it
/// is not given. Gives the id of the new process, a child that the caller must wait for. When it returns, the process table
/// already shows the program, so that a second request right behind finds it and starts none.
Result<qint32> start(const QByteArray& program, const QByteArrayList& arguments,
    const std::optional<QByteArrayList>& environment = std::nullopt);

/// For a program whose output we read: the program of `process` gets no descriptor above 2, and default signal handling. To be
/// called before the start.
void isolate(QProcess& process);

} // namespace ProgramStart
} // namespace kestrum
