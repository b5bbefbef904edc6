// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <charconv>
#include <iterator>

namespace kestrum {

/// `number` with `decimals` decimals, like C's "%f" in the C locale. Halves, such as 0.25 with one decimal, are rounded to
/// the even digit; `QString::number` rounds them up.
inline QString fixedText(double number, int decimals)
{
    char text[512]; // the largest number has 309 digits
    const auto end
        = std::to_chars(std::begin(text), std::end(text), number, std::chars_format::fixed, decimals);
    return QString::fromLatin1(text, end.ptr - text);
}

} // namespace kestrum
