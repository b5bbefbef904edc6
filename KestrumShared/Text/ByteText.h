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

struct Style {
    Counting counting;
    QString language;
    QString region;

    /// `bytes` as text, in the largest unit up to petabytes in which the value is at least 1. Bytes and kilobytes have no
    /// decimals, megabytes have at most one, larger units at most two. Zero is shown as a number, not as a word.
    QString format(qint64 bytes) const;

    /// `bytes` for a place where the value changes often. Only the unit and the digits before the point determine the number
    /// of decimals, so that the text does not change its width with each value: "38.0 MB" follows "38.1 MB". Megabytes have
    /// one decimal, larger units two, and values from 100 on none. In file counting, values from 10 on have at most one:
    /// "69.4 GB". Memory keeps two there, so that its shown parts add up to its shown sum. The smallest unit is the kilobyte.
    QString steady(qint64 bytes) const;
};

/// The style for the present interface language and region.
Style style(Counting counting);

} // namespace ByteText
} // namespace kestrum
