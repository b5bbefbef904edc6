// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Log/Result.h"

#include <QByteArray>
#include <QList>
#include <QString>
#include <QStringList>
#include <chrono>
#include <functional>

class QObject;

namespace kestrum {

/// Runs small programs of the desktop to their end, without waiting for them. A program gets an empty standard input and speaks
/// English. It is killed if it takes too long, or prints more than 1 MiB.
namespace ProgramRun {

inline constexpr std::chrono::seconds usualLimit { 5 };

/// Gets what the program has printed, or why it failed: it is not installed, was killed, or had another exit code than 0. The
/// reason is then its own message, if it gave one.
using Ended = std::function<void(const Result<QByteArray>&)>;

/// Starts `program`, a name to be found in PATH. The event loop calls `ended`, unless `context` is destroyed before: then the
/// program is killed.
void start(const QString& program, const QStringList& arguments, QObject* context, Ended ended,
    std::chrono::milliseconds limit = usualLimit);

/// Starts `program` with each of `runs`, one after the other. The first failure is the last run. `ended` gets the outcome of the
/// last run; nothing printed if there is none.
void startInTurn(const QString& program, const QList<QStringList>& runs, QObject* context, Ended ended);

} // namespace ProgramRun
} // namespace kestrum
