// SPDX-License-Identifier: MIT
#pragma once

#include <QTest>

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

/// Adds the rows of a table to a test, which gets its row by `QFETCH(Row, row)`. The member `name` of a `Row` names it in
/// failures.
template <class Row, std::size_t count> void addRows(const Row (&rows)[count])
{
    QTest::addColumn<Row>("row");
    for (const Row& row : rows)
        QTest::newRow(row.name) << row;
}

} // namespace kestrum
