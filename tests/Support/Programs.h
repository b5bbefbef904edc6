#pragma once

#include <QByteArray>
#include <QProcess>
#include <QStringList>
#include <memory>

namespace kestrum {

/// Running other programs from tests, never without a limit of time.
namespace Programs {

/// How long a test waits for what another program does, in ms: longer than that ever takes, on a busy machine and with the
/// sanitizers, since who waits goes on as soon as it is so. No figure of how soon something has to happen.
inline constexpr int patience = 20'000;

/// Whether the programs are slowed down by sanitizers, so that nothing can be said of how soon they do something.
#ifdef __SANITIZE_ADDRESS__
inline constexpr bool areSanitized = true;
#else
inline constexpr bool areSanitized = false;
#endif

/// The limit where something is promised within a second, in ms.
inline constexpr int withinASecond = areSanitized ? patience : 1000;

/// What `program` prints; empty, with a warning, when it fails or takes longer than `patience`.
QByteArray output(const QString& program, const QStringList& arguments);

/// A process that ends with its owner, and with this one.
std::unique_ptr<QProcess> started(const QString& program, const QStringList& arguments);

/// Ends a process, by force when it takes longer than that.
void end(QProcess& process);

} // namespace Programs
} // namespace kestrum
