#pragma once

#include <QByteArray>
#include <QString>
#include <optional>

namespace kestrum {

/// Makes a file name of any text, such as a suite name that came from the environment.
namespace FileName {

/// `text` percent-encoded so that it is one plain path component: letters, digits, "-", "_" and "." stay,
/// a leading "." does not. Nothing when `text` is empty or the encoded name, with `suffix`, is longer than a
/// file name may be (255 bytes, less the room that its lock and damaged copies need).
std::optional<QByteArray> encoded(const QString& text, QByteArrayView suffix = {});

} // namespace FileName
} // namespace kestrum
