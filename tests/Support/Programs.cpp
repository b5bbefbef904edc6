#include "tests/Support/Programs.h"

#include <csignal>
#include <sys/prctl.h>

namespace kestrum {

char* Programs::toString(const Ended& ended)
{
    return qstrdup("exit code " + QByteArray::number(ended.code) + ", output \"" + ended.output
        + "\", errors \"" + ended.errors + '"');
}

QProcessEnvironment Programs::environment(const Variables& variables)
{
    QProcessEnvironment environment = QProcessEnvironment::systemEnvironment();
    for (const auto& [name, value] : variables)
        environment.insert(QString::fromLatin1(name), QString::fromUtf8(value));
    return environment;
}

Programs::Ended Programs::run(
    const QString& program, const QStringList& arguments, const Variables& variables, const QByteArray& input)
{
    QProcess process;
    process.setProcessEnvironment(environment(variables));
    process.start(program, arguments);
    process.write(input);
    process.closeWriteChannel();
    return ended(process);
}

QByteArray Programs::output(const QString& program, const QStringList& arguments)
{
    const Ended ended = run(program, arguments);
    if (ended.code == 0)
        return ended.output.trimmed();
    qWarning("%s: %s", qPrintable(program + u' ' + arguments.join(u' ')), ended.errors.constData());
    return {};
}

std::unique_ptr<QProcess> Programs::started(const QString& program, const QStringList& arguments)
{
    auto process = std::make_unique<QProcess>();
    // Ends the started process even if this process is killed after a timeout.
    process->setChildProcessModifier([] { ::prctl(PR_SET_PDEATHSIG, SIGTERM); });
    process->start(program, arguments);
    process->waitForStarted(patience);
    return process;
}

Programs::Ended Programs::ended(QProcess& process)
{
    Ended ended;
    if (process.state() != QProcess::NotRunning && !process.waitForFinished(patience)) {
        process.kill();
        process.waitForFinished(patience);
    } else if (process.exitStatus() == QProcess::NormalExit && process.error() != QProcess::FailedToStart) {
        ended.code = process.exitCode();
    }
    ended.output = process.readAllStandardOutput();
    ended.errors = process.readAllStandardError();
    return ended;
}

void Programs::end(QProcess& process)
{
    process.terminate();
    if (!process.waitForFinished(patience)) {
        process.kill();
        process.waitForFinished(patience);
    }
}

} // namespace kestrum
