#include "tests/Support/Programs.h"

#include <csignal>
#include <sys/prctl.h>

namespace kestrum {

QByteArray Programs::output(const QString& program, const QStringList& arguments)
{
    QProcess process;
    process.start(program, arguments);
    const bool isDone = process.waitForFinished(patience);
    if (!isDone || process.exitStatus() != QProcess::NormalExit || process.exitCode() != 0) {
        qWarning("%s: %s", qPrintable(program + u' ' + arguments.join(u' ')),
            process.readAllStandardError().constData());
        return {};
    }
    return process.readAllStandardOutput().trimmed();
}

std::unique_ptr<QProcess> Programs::started(const QString& program, const QStringList& arguments)
{
    auto process = std::make_unique<QProcess>();
    // Ends the process even if this one is killed after a timeout.
    process->setChildProcessModifier([] { ::prctl(PR_SET_PDEATHSIG, SIGTERM); });
    process->start(program, arguments);
    process->waitForStarted(patience);
    return process;
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
