// SPDX-License-Identifier: MIT
#pragma once

#include <QTest>
#include <tuple>

/// Like QCOMPARE, in a loop over rows of a table: a failure also names the row.
#define QCOMPARE_ROW(name, actual, expected)                                                                 \
    do {                                                                                                     \
        const auto actualValue = actual;                                                                     \
        const auto expectedValue = expected;                                                                 \
        if (!QTest::qCompare(actualValue, expectedValue, #actual, #expected, __FILE__, __LINE__)) {          \
            qWarning("in the row \"%s\"", static_cast<const char*>(name));                                   \
            return;                                                                                          \
        }                                                                                                    \
    } while (false)

namespace kestrum {

/// Adds the rows of a table to a test. The test gets its current row by `QFETCH(Row, row)`. Failures show the row's member
/// `name`.
template <class Row, std::size_t count> void addRows(const Row (&rows)[count])
{
    QTest::addColumn<Row>("row");
    for (const Row& row : rows)
        QTest::newRow(row.name) << row;
}

/// The type that a row uses for a value of type `T`: UTF-8 text for a QString, otherwise `T`.
template <class T> using Written = std::conditional_t<std::is_same_v<T, QString>, const char*, T>;
inline constexpr const char* columnNames[] = { "1", "2", "3", "4", "5" };

/// Adds rows of test data. Each row has a name, and values of the types `T`, none of which is a structure: rows of a structure are
/// the other function's.
template <class... T>
requires(!std::is_aggregate_v<T> && ...) void addRows(
    std::initializer_list<std::tuple<const char*, Written<T>...>> rows)
{
    static_assert(sizeof...(T) <= std::size(columnNames));
    int column = 0;
    (QTest::addColumn<T>(columnNames[column++]), ...);
    for (const auto& row : rows) {
        std::apply(
            [](const char* name, const auto&... values) { (QTest::newRow(name) << ... << values); }, row);
    }
}

/// The values of the current row.
template <class... T> std::tuple<T...> thisRow()
{
    return []<size_t... column>(std::index_sequence<column...>)
    {
        return std::tuple<T...>(
            *static_cast<const T*>(QTest::qData(columnNames[column], qMetaTypeId<T>()))...);
    }
    (std::index_sequence_for<T...>());
}

/// The rows of a test in both writing directions.
inline void addDirections()
{
    addRows<Qt::LayoutDirection>(
        { { "left to right", Qt::LeftToRight }, { "right to left", Qt::RightToLeft } });
}

} // namespace kestrum
