// SPDX-License-Identifier: MIT
#pragma once

#include <QString>
#include <optional>
#include <string_view>

namespace kestrum {

/// One case of a stored enumeration: the enumerator, the stored text, and the English display text, which is the key of the
/// translation. `title` is null if the case is never displayed by itself.
template <class E> struct EnumerationCase {
    E value;
    const char* rawValue;
    const char* title;
};

/// The table of an enumeration's cases. Each stored enumeration has a specialisation with the member `static constexpr
/// EnumerationCase<E> cases[]`. The type of the cases may also be derived from `EnumerationCase<E>`.
template <class E> struct Enumeration;

template <class E>
concept StoredEnumeration = requires
{
    Enumeration<E>::cases[0].rawValue;
};

/// Whether `value` is an enumerator. Compilers write enumerators by name in `__PRETTY_FUNCTION__`. Other values are written
/// as a type in parentheses and a number.
template <auto value> constexpr bool isEnumerator()
{
    constexpr std::string_view text = __PRETTY_FUNCTION__;
    return text[text.rfind('=') + 2] != '(';
}

/// Whether the table of `E` has exactly one case for each enumerator, in the order of declaration. The table may leave out
/// the last enumerators if it has a member `static constexpr int withoutCase` with their number.
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

/// All cases in the order of the enumerators.
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

/// The enumerator whose stored text is `text`; nothing for any other text.
template <StoredEnumeration E> std::optional<E> fromRawValue(QStringView text)
{
    for (const auto& entry : allCases<E>()) {
        if (text == QLatin1StringView(entry.rawValue))
            return entry.value;
    }
    return std::nullopt;
}

} // namespace kestrum
