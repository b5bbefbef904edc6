// SPDX-License-Identifier: MIT
#pragma once

#include <QByteArray>
#include <QElapsedTimer>
#include <QFile>
#include <QTest>

namespace kestrum {

/// A row of the table of faults (`tools/faults`). It counts the cases that a test function has come through, and adds its line to
/// the file $KESTRUM_FAULT_ROWS when the function ends. Several functions may have rows of one name: the table adds them up.
class FaultRow {
public:
    explicit FaultRow(const char* name)
        : m_name(name)
    {
        m_timer.start();
    }
    ~FaultRow()
    {
        QFile rows(qEnvironmentVariable("KESTRUM_FAULT_ROWS"));
        if (rows.fileName().isEmpty() || !rows.open(QIODevice::Append))
            return;
        const QByteArray result = QTest::currentTestFailed() ? "failed" : "passed";
        rows.write(m_name + '\t' + QByteArray::number(m_cases) + '\t' + QByteArray::number(m_wrong) + '\t'
            + result + '\t' + QByteArray::number(m_timer.elapsed()) + '\n');
    }
    Q_DISABLE_COPY_MOVE(FaultRow)

    /// Counts cases whose check has been made.
    void add(int cases = 1) { m_cases += cases; }
    /// Counts a deliberately wrong program that the row's own check has found out.
    void addFoundOut() { ++m_wrong; }

    /// Whether the long form runs (`./test --long`): all cases that the table asks for.
    static bool isLong() { return qEnvironmentVariableIsSet("KESTRUM_LONG_TESTS"); }
    static int times(int few, int many) { return isLong() ? many : few; }

private:
    const QByteArray m_name;
    QElapsedTimer m_timer;
    int m_cases = 0;
    int m_wrong = 0;
};

} // namespace kestrum
