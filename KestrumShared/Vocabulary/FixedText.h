// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <charconv>
#include <iterator>

namespace kestrum {

/// Formats `number` with `decimals` decimals, like "%f" of printf in the C locale. Halves are rounded to the even digit:
/// 0.25 becomes "0.2" with one decimal. `QString::number` would round halves up.
inline QString fixedText(double number, int decimals)
{
    char text[512]; // the largest number has 309 digits
    const auto end
        = std::to_chars(std::begin(text), std::end(text), number, std::chars_format::fixed, decimals);
    return QString::fromLatin1(text, end.ptr - text);
}

} // namespace kestrum
