// SPDX-License-Identifier: MIT
#include "tests/Support/StormWriter.h"

#include "KestrumShared/Settings/SharedSettings.h"
#include "tests/Support/Programs.h"

#include <QCoreApplication>
#include <QTest>

namespace kestrum {

StormWriter::StormWriter(quint32 seed, const QStringList& without)
    : m_random(seed, without)
{
    m_rhythm.setInterval(1000 / writesPerSecond);
    m_rhythm.setTimerType(Qt::PreciseTimer);
    connect(&m_rhythm, &QTimer::timeout, this, [this] {
        if (m_told.pending() < mostPending)
            write(m_random.line());
    });
    connect(&m_process, &QProcess::readyReadStandardOutput, this, &StormWriter::readAnswers);
    m_process.setStandardErrorFile(QProcess::nullDevice()); // what it says is in its answers
    m_process.start(QCoreApplication::applicationDirPath() + text("/HelperProcess"),
        { text("store"), SharedSettings::suiteName(), text("0") });
    m_process.waitForStarted(Programs::patience);
}

StormWriter::~StormWriter()
{
    m_process.disconnect(this);
    m_process.closeWriteChannel();
    m_process.waitForFinished(Programs::patience);
}

void StormWriter::write(const QByteArray& line)
{
    m_told.ask(line);
    m_process.write(line + '\n');
}

void StormWriter::readAnswers()
{
    while (m_process.canReadLine()) {
        const QByteArray answer = m_process.readLine().trimmed();
        m_told.answer(answer == "stored");
        if (answer != "stored")
            ++m_failures[QString::fromUtf8(answer.mid(answer.lastIndexOf(':') + 1).trimmed())];
    }
}

bool StormWriter::isAnswered()
{
    return QTest::qWaitFor([this] { return m_told.pending() == 0; }, 15'000);
}

void StormWriter::exchangeFile(const std::function<void()>& exchange)
{
    m_before = m_told.known();
    exchange();
    m_told.replace({});
}

void StormWriter::exchangeFileBack(const std::function<void()>& exchange)
{
    exchange();
    m_told.replace(m_before);
}

} // namespace kestrum
