// SPDX-License-Identifier: MIT
#pragma once

#include <QMap>
#include <QString>
#include <QStringList>

namespace kestrum {

/// The rules for when the login item must not be changed.
namespace LoginItemPolicy {

/// The launch argument that forbids changes of the login item.
inline constexpr char suppressingArgument[] = "-KestrumNoLoginItem";

/// Whether `environment` or `arguments` forbid changes of the login item, as in tests and special builds.
/// "XCTestConfigurationFilePath" is a variable that a test runner sets.
bool isSuppressed(const QMap<QString, QString>& environment, const QStringList& arguments);

/// `isSuppressed` for this process's environment and arguments.
bool isSuppressedHere();

/// Whether `path` contains a folder "AppTranslocation". Such a path is temporary: it differs at the next start.
bool isTranslocated(const QString& path);

} // namespace LoginItemPolicy
} // namespace kestrum
