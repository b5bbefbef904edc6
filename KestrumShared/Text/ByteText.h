// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

namespace kestrum {

/// Formats byte counts for display.
namespace ByteText {

enum class Counting {
    file,   ///< 1 kB is 1000 bytes
    memory, ///< 1 kB is 1024 bytes
};

/// A byte-count formatter. `language` and `region` are codes as `AppLanguage` gives them; they stay as they are when the
/// interface language changes.
struct Style {
    Counting counting;
    QString language;
    QString region;

    /// `bytes` in the largest unit in which the value is at least 1, from bytes to petabytes: bytes and kilobytes without
    /// decimals, megabytes with at most one, larger units with at most two. Zero is shown as a number, not as a word.
    QString format(qint64 bytes) const;
};

/// The style for the present interface language and region.
Style style(Counting counting);

} // namespace ByteText
} // namespace kestrum
