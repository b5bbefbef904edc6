#pragma once

#include <QByteArray>
#include <QProcess>
#include <QStringList>
#include <memory>

namespace kestrum {

/// Running other programs from tests, never without a limit of time.
namespace Programs {

/// What `program` prints; empty, with a warning, when it fails or takes longer than 10 s.
QByteArray output(const QString& program, const QStringList& arguments);

/// A process that ends with its owner, and with this one.
std::unique_ptr<QProcess> started(const QString& program, const QStringList& arguments);

/// Ends a process, by force when it takes longer than 3 s.
void end(QProcess& process);

} // namespace Programs
} // namespace kestrum
