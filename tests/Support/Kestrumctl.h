#pragma once

#include "tests/Support/FileContent.h"
#include "tests/Support/Programs.h"
#include "tests/Support/TestHome.h"
#include "tests/Support/Text.h"

#include <QByteArrayList>

namespace kestrum {

/// The built command-line program, run in the test's home. Every wait is bounded.
namespace Kestrumctl {

QString path();

/// Runs a shell script, in which "$0" is the program's path and "$1" is `argument`.
Programs::Ended inShell(const char* script, const QString& argument = {});

/// A program that runs until the test stops it. The destructor kills it by its process id.
class Running {
public:
    /// Starts the program, and waits until its standard error contains the line `readiness`.
    Running(const char* line, const QByteArray& readiness);
    ~Running();
    Q_DISABLE_COPY_MOVE(Running)

    bool isReady() const { return m_isReady; }
    /// Waits until the program has printed `count` lines, and returns all lines so far.
    QByteArrayList lines(qsizetype count);
    void signal(int number);
    /// Waits for the end. The result contains everything that the program has written since its start.
    Programs::Ended ended();

private:
    QProcess m_process;
    QByteArray m_output;
    QByteArray m_errors;
    bool m_isReady = false;
};

} // namespace Kestrumctl

/// Runs the program to its end. Its arguments are the words of `line` and then `more`, whose texts may contain blanks.
inline Programs::Ended ctl(
    const char* line, const QStringList& more = {}, const Programs::Variables& variables = {})
{
    return Programs::run(Kestrumctl::path(), words(line) + more, variables);
}
inline Programs::Ended ctl(const char* line, const Programs::Variables& variables)
{
    return ctl(line, QStringList(), variables);
}
inline Programs::Ended ctl(const char* line, const QByteArray& input)
{
    return Programs::run(Kestrumctl::path(), words(line), {}, input);
}

/// The expected end of a successful run.
inline Programs::Ended done(const QByteArray& output = {})
{
    return { 0, output, {} };
}

/// The path of the settings file that all programs share.
inline QString suitePath()
{
    return TestHome::configDirectory() + QStringLiteral("/T4K9ZR2MXB.com.orvale.kestrum.json");
}

} // namespace kestrum

/// Checks that a run ended with `exitCode` and without output, and that its message contains `reason`.
#define QVERIFY_FAILED(run, exitCode, reason)                                                                \
    do {                                                                                                     \
        const auto ended = run;                                                                              \
        QCOMPARE(ended.code, exitCode);                                                                      \
        QCOMPARE(ended.output, QByteArray());                                                                \
        QVERIFY_CONTAINS(ended.errors, reason);                                                              \
    } while (false)
