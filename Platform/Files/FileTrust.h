// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QString>
#include <optional>

namespace kestrum {

/// Checks which users can change a file. No other user must be able to replace a program that starts at every login.
namespace FileTrust {

/// Checks whether any user except this user and root can change the file at `path`, or replace the file by changing a directory
/// in `path`. If so, or if permissions cannot be read, returns one line with the place and the reason; else nothing. Follows
/// links, but checks the directories that contain a link's target only if they are in `path`.
std::optional<QString> wayInForOthers(const QByteArray& path);

} // namespace FileTrust
} // namespace kestrum
