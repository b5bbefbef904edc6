// SPDX-License-Identifier: MIT
#pragma once

#include <charconv>
#include <cstddef>
#include <optional>
#include <string_view>

namespace kestrum {

/// Parses the texts of "/proc" and "/sys", which are lines of words, without copying them.
namespace KernelText {

/// Returns the text up to `separator` or to the end, and removes the text and the separator from `rest`.
inline std::string_view takeUpTo(char separator, std::string_view& rest)
{
    const std::size_t end = rest.find(separator);
    const std::string_view taken = rest.substr(0, end);
    rest.remove_prefix(end == std::string_view::npos ? rest.size() : end + 1);
    return taken;
}

inline std::string_view takeLine(std::string_view& rest)
{
    return takeUpTo('\n', rest);
}

/// Returns the next word between blanks and removes the word from `rest`. The word is empty at the end.
inline std::string_view takeWord(std::string_view& rest)
{
    const std::size_t begin = rest.find_first_not_of(" \t");
    rest.remove_prefix(begin == std::string_view::npos ? rest.size() : begin);
    return takeUpTo(' ', rest);
}

inline std::string_view trimmed(std::string_view text)
{
    const std::size_t begin = text.find_first_not_of(" \t\n");
    if (begin == std::string_view::npos)
        return {};
    return text.substr(begin, text.find_last_not_of(" \t\n") - begin + 1);
}

/// The whole of `text` as a number; nothing if `text` is not a number or the number does not fit the type.
template <class Number> std::optional<Number> wholeNumber(std::string_view text)
{
    Number number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || end != text.data() + text.size())
        return std::nullopt;
    return number;
}

} // namespace KernelText
} // namespace kestrum
