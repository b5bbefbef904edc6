#include "tests/Support/StandIns.h"

#include <algorithm>
#include <csignal>
#include <ctime>
#include <spawn.h>
#include <sys/wait.h>
#include <unistd.h>

namespace kestrum {

namespace {

double now()
{
    timespec time {};
    ::clock_gettime(CLOCK_REALTIME, &time);
    return double(time.tv_sec) + double(time.tv_nsec) / 1e9;
}

} // namespace

StandIns::~StandIns()
{
    for (const qint32 pid : m_pids)
        kill(pid);
    for (const qint32 pid : m_pids)
        ::waitpid(pid, nullptr, 0);
}

QString StandIns::install(const QString& relative) const
{
    const QString target = path(relative);
    QDir().mkpath(QFileInfo(target).path());
    QFile::remove(target);
    QFile::copy(QStringLiteral(STAND_IN), target);
    return target;
}

StandIns::Process StandIns::start(const QByteArray& program, const QByteArray& argument)
{
    QByteArray name = program;
    QByteArray word = argument;
    char* const arguments[] = { name.data(), word.isEmpty() ? nullptr : word.data(), nullptr };
    Process process;
    process.notBefore = now();
    if (::posix_spawn(&process.pid, program.constData(), nullptr, nullptr, arguments, environ) == 0)
        m_pids.append(process.pid);
    else
        process.pid = 0;
    process.notAfter = now();
    return process;
}

void StandIns::end(qint32 pid)
{
    if (!m_pids.removeOne(pid))
        return;
    kill(pid);
    ::waitpid(pid, nullptr, 0);
}

void StandIns::kill(qint32 pid)
{
    if (pid > 0)
        ::kill(pid, SIGKILL);
}

QByteArrayList StandIns::environmentOf(qint32 pid)
{
    QByteArray text;
    (void)QTest::qWaitFor([&text, pid] {
        QFile file(QStringLiteral("/proc/%1/environ").arg(pid));
        text = file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
        return !text.isEmpty();
    });
    QByteArrayList variables = text.split('\0');
    variables.removeAll({});
    std::sort(variables.begin(), variables.end());
    return variables;
}

} // namespace kestrum
