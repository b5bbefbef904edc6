// SPDX-License-Identifier: MIT
#include "KestrumShared/Agent/AppLinks.h"
#include "Platform/Log/Log.h"
#include "kestrumctl/Verb.h"

#include <QDateTime>

namespace kestrum {

namespace {

// Formats the local time with the offset from UTC, even if the offset is zero.
QString timeText(const std::optional<double>& time)
{
    if (!time)
        return QStringLiteral("-");
    const QDateTime local = QDateTime::fromMSecsSinceEpoch(qint64(*time * 1000));
    QString text = local.toOffsetFromUtc(local.offsetFromUtc()).toString(Qt::ISODate);
    if (text.endsWith(u'Z'))
        text.replace(text.size() - 1, 1, QStringLiteral("+00:00"));
    return text;
}

ExitCode runAgents(const CommandLine&)
{
    QByteArray lines;
    for (const ProcessScan::Entry& agent : AppLinks::agentProcesses())
        lines += QStringList { QString::number(agent.pid), timeText(agent.started),
            Log::escapedWhole(agent.path) }
                     .join(u'\t')
                     .toUtf8()
            + '\n';
    return lines.isEmpty() ? ExitCode::failed : Console::print(lines);
}

} // namespace

const Verb agentsVerb {
    .name = "agents",
    .summary = "list the agents that run",
    .details
    = R"(Prints "PID<TAB>START<TAB>PATH" for each running agent, wherever its bundle lies: its process, when it started
(local time; "-" when that is not known) and its program.
Exit code 1, without output, when none runs.
)",
    .run = runAgents,
    .needsSuite = false,
};

} // namespace kestrum
