// SPDX-License-Identifier: MIT
#pragma once

#include <QMap>
#include <QString>
#include <QStringList>

namespace kestrum {

/// Decides when the login item is left alone.
namespace LoginItemPolicy {

/// The launch argument that leaves it alone.
inline constexpr char suppressingArgument[] = "-KestrumNoLoginItem";

/// Whether an environment and launch arguments forbid touching the login item, as tests and special builds do.
/// "XCTestConfigurationFilePath" is set by a test runner; the name is the runner's.
bool isSuppressed(const QMap<QString, QString>& environment, const QStringList& arguments);

/// The same for this process.
bool isSuppressedHere();

/// Whether a bundle runs from a temporary place, where it will not be at the next start. The name is that of the folder
/// that it looks for, "AppTranslocation".
bool isTranslocated(const QString& path);

} // namespace LoginItemPolicy
} // namespace kestrum
