#pragma once

#include "tests/Support/TestHome.h"

#include <QByteArray>
#include <QByteArrayList>
#include <QProcess>
#include <QStringList>

namespace kestrum {

/// The built command-line program, run in the test's home. Every wait is bounded; a program that outlives its test is
/// killed by its process id.
namespace Kestrumctl {

struct Result {
    int code = -1; ///< -1: it did not end by itself
    QByteArray output;
    QByteArray errors;
};

/// Variables to set, over the test's own environment.
using Variables = QList<std::pair<QString, QString>>;

QString path();

/// The words of a line, apart at its blanks: arguments of the program.
QStringList words(const char* line);

/// Runs the program to its end with `input` as standard input.
Result run(const QStringList& arguments, const QByteArray& input = {}, const Variables& variables = {},
    const QString& program = path());

/// A program that runs until it is stopped.
class Running {
public:
    /// Starts it and waits until its standard error says `readiness`.
    Running(const QStringList& arguments, const QByteArray& readiness);
    ~Running();
    Running(const Running&) = delete;
    Running& operator=(const Running&) = delete;

    bool isReady() const { return m_isReady; }
    /// Waits until `count` lines were printed, and gives all that were.
    QByteArrayList lines(qsizetype count);
    /// Sends a signal by process id.
    void signal(int number);
    /// Waits for the end; the output is all that was printed since the start.
    Result ended();

private:
    QProcess m_process;
    QByteArray m_output;
    QByteArray m_errors;
    bool m_isReady = false;
};

} // namespace Kestrumctl

using Kestrumctl::words;

/// The program run to its end, with arguments or with the words of a line.
inline Kestrumctl::Result ctl(const QStringList& arguments, const Kestrumctl::Variables& variables = {})
{
    return Kestrumctl::run(arguments, {}, variables);
}
inline Kestrumctl::Result ctl(const QStringList& arguments, const QByteArray& input)
{
    return Kestrumctl::run(arguments, input);
}
inline Kestrumctl::Result ctl(const char* line, const Kestrumctl::Variables& variables = {})
{
    return Kestrumctl::run(words(line), {}, variables);
}

/// The file of the settings that all programs share.
inline QString suitePath()
{
    return TestHome::configDirectory() + QStringLiteral("/T4K9ZR2MXB.com.orvale.kestrum.json");
}

} // namespace kestrum
