// SPDX-License-Identifier: MIT
#pragma once

#include <QMap>
#include <QString>
#include <QStringList>

namespace kestrum {

/// Decides when the login item must not be changed.
namespace LoginItemPolicy {

/// The launch argument that forbids changes of the login item.
inline constexpr char suppressingArgument[] = "-KestrumNoLoginItem";

/// Whether an environment or launch arguments forbid changes of the login item, as in tests and special builds.
/// "XCTestConfigurationFilePath" is a variable that a test runner sets.
bool isSuppressed(const QMap<QString, QString>& environment, const QStringList& arguments);

/// The same for this process's environment and arguments.
bool isSuppressedHere();

/// Whether `path` is a temporary place, where the bundle will not be at the next start: a path with a folder
/// "AppTranslocation".
bool isTranslocated(const QString& path);

} // namespace LoginItemPolicy
} // namespace kestrum
