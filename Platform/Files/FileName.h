// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QString>
#include <optional>

namespace kestrum {

/// Turns any text, such as a suite name from the environment, into a file name.
namespace FileName {

/// Whether a name needs room for suffixes of companion files: the lock, or a damaged copy.
enum class Room { forCompanions, none };

/// `text` percent-encoded into one path component: letters, digits, "-", "_" and "." stay, a leading "." does not. Nothing if
/// `text` is empty or the name with `suffix` and `room` is longer than 255 bytes.
std::optional<QByteArray> encoded(
    const QString& text, QByteArrayView suffix = {}, Room room = Room::forCompanions);

} // namespace FileName
} // namespace kestrum
