// SPDX-License-Identifier: MIT
#pragma once

#include "tests/Support/HelperProcess.h"
#include "tests/Support/SettingsInMemory.h"

#include <QTest>
#include <memory>
#include <string>
#include <vector>

namespace kestrum {

/// A settings suite for each test, and processes that write to it.
class StoreWriters {
protected:
    void nextSuite()
    {
        m_suite = QStringLiteral("suite.%1").arg(++m_number);
        m_writers.clear();
    }
    static constexpr int keysPerWriter = 20;

    static std::string keyName(const QByteArray& writer, int number)
    {
        return (writer + '.' + QByteArray::number(number)).toStdString();
    }
    QStringList arguments(const QByteArray& writer, int count) const
    {
        return { QStringLiteral("keys"), m_suite, QString::fromLatin1(writer), QString::number(keysPerWriter),
            QString::number(count) };
    }
    void start(const QByteArray& writer, int count)
    {
        m_writers.push_back(std::make_unique<HelperProcess>(arguments(writer, count)));
    }
    void finish()
    {
        for (const auto& writer : m_writers) {
            QTRY_VERIFY_WITH_TIMEOUT(writer->hasEnded(), 30'000);
            QVERIFY2(writer->finish() == 0, writer->errors().constData());
        }
    }

    const SettingsInMemory m_memory; // on a disk, writers would also collide less often
    QString m_suite;
    std::vector<std::unique_ptr<HelperProcess>> m_writers;

private:
    int m_number = 0;
};

} // namespace kestrum
