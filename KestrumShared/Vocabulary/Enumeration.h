// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <optional>
#include <string_view>

namespace kestrum {

/// One case of a stored enumeration: its value, its stored text, and its English display text, which is the key of its
/// translation. The title is null if the case is never displayed by itself.
template <class E> struct EnumerationCase {
    E value;
    const char* rawValue;
    const char* title;
};

/// The table of an enumeration's cases, in the order of pickers. Each enumeration has a specialisation with a `static
/// constexpr EnumerationCase<E> cases[]`, or with cases of a derived type that has more members.
template <class E> struct Enumeration;

template <class E>
concept StoredEnumeration = requires
{
    Enumeration<E>::cases[0].rawValue;
};

/// Whether `value` is an enumerator. In `__PRETTY_FUNCTION__`, compilers write an enumerator as its name, and any other
/// value as a number after a type in parentheses.
template <auto value> constexpr bool isEnumerator()
{
    constexpr std::string_view text = __PRETTY_FUNCTION__;
    return text[text.rfind('=') + 2] != '(';
}

/// Whether the table of `E` has exactly one case for each enumerator, in the order of their declaration. If the last
/// enumerators have no case, the table gives their number: `static constexpr int withoutCase`.
template <StoredEnumeration E> constexpr bool hasAllCases()
{
    int next = 0;
    for (const auto& entry : Enumeration<E>::cases) {
        if (entry.value != E(next++))
            return false;
    }
    if constexpr (requires { Enumeration<E>::withoutCase; })
        return !isEnumerator<E(std::size(Enumeration<E>::cases) + Enumeration<E>::withoutCase)>();
    else
        return !isEnumerator<E(std::size(Enumeration<E>::cases))>();
}

/// All cases in their declared order.
template <StoredEnumeration E> constexpr const auto& allCases()
{
    static_assert(hasAllCases<E>(), "an enumerator lacks its case, or stands elsewhere in the table");
    return Enumeration<E>::cases;
}

/// The table's entry for `value`; the first entry if `value` has none.
template <StoredEnumeration E> constexpr const auto& enumerationCase(E value)
{
    for (const auto& entry : allCases<E>()) {
        if (entry.value == value)
            return entry;
    }
    return allCases<E>()[0];
}

/// The text stored for `value`.
template <StoredEnumeration E> QString rawValue(E value)
{
    return QString::fromLatin1(enumerationCase(value).rawValue);
}

/// The case whose stored text is exactly `text`; nothing for any other text.
template <StoredEnumeration E> std::optional<E> fromRawValue(QStringView text)
{
    for (const auto& entry : allCases<E>()) {
        if (text == QLatin1StringView(entry.rawValue))
            return entry.value;
    }
    return std::nullopt;
}

} // namespace kestrum
