#pragma once

#include <QString>
#include <optional>

namespace kestrum {

/// One case of a stored enumeration: its value, the text that is stored for it, and the English text (the key of its
/// translation) that people see. A case that is never shown by a title of its own has a null title.
template <class E> struct EnumerationCase {
    E value;
    const char* rawValue;
    const char* title;
};

/// The only list of an enumeration's cases, in the order in which pickers show them. Specialised per enumeration with a
/// `static constexpr EnumerationCase<E> cases[]`.
template <class E> struct Enumeration;

template <class E>
concept StoredEnumeration = requires
{
    Enumeration<E>::cases[0].rawValue;
};

/// All cases in their declared order.
template <StoredEnumeration E> constexpr const auto& allCases()
{
    return Enumeration<E>::cases;
}

/// The table's entry for `value`; the first one for a number that is no case.
template <StoredEnumeration E> constexpr const EnumerationCase<E>& enumerationCase(E value)
{
    for (const auto& entry : Enumeration<E>::cases) {
        if (entry.value == value)
            return entry;
    }
    return Enumeration<E>::cases[0];
}

/// The text stored for `value`.
template <StoredEnumeration E> QString rawValue(E value)
{
    return QString::fromLatin1(enumerationCase(value).rawValue);
}

/// The case whose stored text is exactly `text`; nothing for any other text.
template <StoredEnumeration E> std::optional<E> fromRawValue(QStringView text)
{
    for (const auto& entry : Enumeration<E>::cases) {
        if (text == QLatin1StringView(entry.rawValue))
            return entry.value;
    }
    return std::nullopt;
}

} // namespace kestrum
