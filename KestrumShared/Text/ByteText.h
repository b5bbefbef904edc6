// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

namespace kestrum {

/// Byte counts for display.
namespace ByteText {

enum class Counting {
    file,   ///< 1 kB is 1000 bytes
    memory, ///< 1 kB is 1024 bytes
};

/// A byte-count formatter with the language and region in effect when it was made.
class Style {
public:
    /// `bytes` in the largest unit that leaves at least 1, from bytes to petabytes: bytes and kilobytes without
    /// decimals, megabytes with at most one, larger units with at most two. Zero is a number, not a word.
    QString format(qint64 bytes) const;

private:
    friend Style style(Counting counting);
    Style(Counting counting, QString language, QString region);
    Counting m_counting;
    QString m_language;
    QString m_region;
};

/// The style for the present interface language and region.
Style style(Counting counting);

} // namespace ByteText
} // namespace kestrum
