// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QString>
#include <optional>

namespace kestrum {

/// Turns any text, such as a suite name from the environment, into a file name.
namespace FileName {

/// Whether the length limit leaves room for the suffixes of companion files: the lock, and copies of a damaged file.
enum class Room { forCompanions, none };

/// Percent-encodes `text` into one path component and appends `suffix`. ASCII letters, digits, "-", "_" and "." are not
/// encoded, except a leading ".". Returns nothing if `text` is empty or the name, with `suffix` and `room`, exceeds 255 bytes.
std::optional<QByteArray> encoded(
    const QString& text, QByteArrayView suffix = {}, Room room = Room::forCompanions);

} // namespace FileName
} // namespace kestrum
