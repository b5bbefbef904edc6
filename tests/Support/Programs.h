#pragma once

#include <QByteArray>
#include <QProcess>
#include <QStringList>
#include <memory>

namespace kestrum {

/// Runs other programs from tests, always with a time limit.
namespace Programs {

/// How long a test waits for another program, in ms: longer than anything takes on a busy machine with sanitizers. A wait
/// ends as soon as its condition holds. This is no measure of how soon something has to happen.
inline constexpr int patience = 20'000;

/// Whether sanitizers slow the programs down, which makes time measurements meaningless.
#ifdef __SANITIZE_ADDRESS__
inline constexpr bool areSanitized = true;
#else
inline constexpr bool areSanitized = false;
#endif

/// The limit in ms for what must happen within a second.
inline constexpr int withinASecond = areSanitized ? patience : 1000;

/// The output of `program`; empty, with a warning, when the program fails or takes longer than `patience`.
QByteArray output(const QString& program, const QStringList& arguments);

/// A new process, which is ended with its owner and with this process.
std::unique_ptr<QProcess> started(const QString& program, const QStringList& arguments);

/// Ends a process, by force after `patience`.
void end(QProcess& process);

} // namespace Programs
} // namespace kestrum
