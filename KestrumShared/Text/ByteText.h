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

/// A byte-count formatter. Its language and region are those in effect when it was created.
class Style {
public:
    /// `bytes` in the largest unit in which the value is at least 1, from bytes to petabytes: bytes and kilobytes without
    /// decimals, megabytes with at most one, larger units with at most two. Zero is shown as a number, not as a word.
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
