// SPDX-License-Identifier: MIT
#pragma once

#include "tests/Support/RandomWrites.h"
#include "tests/Support/ToldSettings.h"

#include <QProcess>
#include <QTimer>
#include <functional>
#include <memory>

namespace kestrum {

/// Another process that stores random settings, 50 a second, and what it is told of each. Needs an event loop.
class StormWriter : public QObject {
public:
    /// `without`: keys that are not written by chance.
    StormWriter(quint32 seed, const QStringList& without);
    ~StormWriter() override;

    void start() { m_rhythm.start(); }
    void stop() { m_rhythm.stop(); }
    /// Writes one more line, as `ToldSettings` has them.
    void write(const QByteArray& line);
    /// Waits until everything is answered. False if that takes longer than 15 s.
    bool isAnswered();

    /// Puts another file, of which nothing is known, in the place of the present one, and the one of before back.
    void exchangeFile(const std::function<void()>& exchange);
    void exchangeFileBack(const std::function<void()>& exchange);

    const ToldSettings& told() const { return m_told; }
    const QMap<QString, int>& failures() const { return m_failures; }

private:
    static constexpr int writesPerSecond = 50;
    static constexpr int mostPending = 200;

    void readAnswers();

    RandomWrites m_random;
    ToldSettings m_told;
    ToldSettings::Possible m_before;
    QMap<QString, int> m_failures; ///< by their last words
    QTimer m_rhythm;
    QProcess m_process;
};

} // namespace kestrum
