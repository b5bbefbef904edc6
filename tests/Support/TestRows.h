// SPDX-License-Identifier: MIT
#pragma once

#include <QTest>
#include <tuple>

namespace kestrum {

/// How a value of type `T` is written in a row: a QString as UTF-8.
template <class T> using Written = std::conditional_t<std::is_same_v<T, QString>, const char*, T>;
inline constexpr const char* columnNames[] = { "1", "2", "3", "4", "5" };

/// Adds the rows of a test function's data: each has a name, and values of the types `T`.
template <class... T> void addRows(std::initializer_list<std::tuple<const char*, Written<T>...>> rows)
{
    int column = 0;
    (QTest::addColumn<T>(columnNames[column++]), ...);
    for (const auto& row : rows) {
        std::apply(
            [](const char* name, const auto&... values) { (QTest::newRow(name) << ... << values); }, row);
    }
}

/// The values of the row at hand.
template <class... T> std::tuple<T...> thisRow()
{
    return []<size_t... column>(std::index_sequence<column...>)
    {
        return std::tuple<T...>(
            *static_cast<const T*>(QTest::qData(columnNames[column], qMetaTypeId<T>()))...);
    }
    (std::index_sequence_for<T...>());
}

/// The rows of a test that takes a direction of writing.
inline void addDirections()
{
    addRows<Qt::LayoutDirection>(
        { { "left to right", Qt::LeftToRight }, { "right to left", Qt::RightToLeft } });
}

} // namespace kestrum
