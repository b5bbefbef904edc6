// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QString>
#include <optional>

namespace kestrum {

/// Who may change a file. A program that starts at every login must be the one that its user put there.
namespace FileTrust {

/// How somebody other than us and root can change the file at `path`, or replace it by changing a directory above: one line that
/// names the place, the user or group, and the reason. Nothing if nobody can. Unreadable permissions count as a way in. Links
/// are followed; the directories that contain the links are not checked.
std::optional<QString> wayInForOthers(const QByteArray& path);

} // namespace FileTrust
} // namespace kestrum
