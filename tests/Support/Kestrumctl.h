#pragma once

#include "tests/Support/TestHome.h"

#include <QByteArray>
#include <QByteArrayList>
#include <QProcess>
#include <QStringList>

namespace kestrum {

/// The built command-line program, run in the test's home. Every wait is bounded. A program that is still running when its
/// test ends is
/// killed by its process id.
namespace Kestrumctl {

struct Result {
    int code = -1; ///< -1: the program did not end by itself
    QByteArray output;
    QByteArray errors;
};

/// Environment variables that are set in addition to the test's own.
using Variables = QList<std::pair<QString, QString>>;

QString path();

/// The arguments in a line, separated by blanks.
QStringList words(const char* line);

/// Runs the program to its end, with `input` as standard input.
Result run(const QStringList& arguments, const QByteArray& input = {}, const Variables& variables = {},
    const QString& program = path());

/// A program that runs until the test stops it.
class Running {
public:
    /// Starts the program, and waits until its standard error contains `readiness`.
    Running(const QStringList& arguments, const QByteArray& readiness);
    ~Running();
    Running(const Running&) = delete;
    Running& operator=(const Running&) = delete;

    bool isReady() const { return m_isReady; }
    /// Waits until the program has printed `count` lines, and gives all lines so far.
    QByteArrayList lines(qsizetype count);
    /// Sends a signal to the process.
    void signal(int number);
    /// Waits for the end. The result's output is everything since the start.
    Result ended();

private:
    QProcess m_process;
    QByteArray m_output;
    QByteArray m_errors;
    bool m_isReady = false;
};

} // namespace Kestrumctl

using Kestrumctl::words;

/// Runs the program to its end, with a list of arguments or a line of them.
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

/// The path of the settings file that all programs share.
inline QString suitePath()
{
    return TestHome::configDirectory() + QStringLiteral("/T4K9ZR2MXB.com.orvale.kestrum.json");
}

} // namespace kestrum
