// SPDX-License-Identifier: MIT
#pragma once

#include <QMap>
#include <QString>
#include <QStringList>

namespace kestrum {

/// When the login item is left alone.
namespace LoginItemPolicy {

/// The launch argument that says so.
inline constexpr char suppressingArgument[] = "-KestrumNoLoginItem";

/// Whether an environment and launch arguments say that no login item is to be touched, as tests and special builds do.
bool isSuppressed(const QMap<QString, QString>& environment, const QStringList& arguments);

/// The same of this process.
bool isSuppressedHere();

/// Whether a bundle lies in a place that it will not be in after the next start.
bool isTranslocated(const QString& path);

} // namespace LoginItemPolicy
} // namespace kestrum
