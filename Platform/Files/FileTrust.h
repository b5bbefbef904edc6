// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QString>
#include <optional>

namespace kestrum {

/// Checks who can change a file. No other user must be able to replace a program that starts at every login.
namespace FileTrust {

/// Whether a user other than us and root can change the file at `path`, or replace it by changing a directory in `path`. If so,
/// one line with the place and the reason; else nothing. Unreadable permissions count as such a risk. Links are followed, but
/// the directories that contain a link's target are not checked unless they are in `path`.
std::optional<QString> wayInForOthers(const QByteArray& path);

} // namespace FileTrust
} // namespace kestrum
