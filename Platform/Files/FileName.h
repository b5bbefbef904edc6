#pragma once

#include <QByteArray>
#include <QString>
#include <optional>

namespace kestrum {

/// Makes a file name of any text, such as a suite name that came from the environment.
namespace FileName {

/// What is still to be put behind a name: lock and damaged copies stand beside their file.
enum class Room { forCompanions, none };

/// `text` percent-encoded so that it is one plain path component: letters, digits, "-", "_" and "." stay,
/// a leading "." does not. Nothing when `text` is empty or the encoded name, with `suffix` and `room`, is longer than a
/// file name may be (255 bytes).
std::optional<QByteArray> encoded(
    const QString& text, QByteArrayView suffix = {}, Room room = Room::forCompanions);

} // namespace FileName
} // namespace kestrum
