// SPDX-License-Identifier: MIT
#include "KestrumShared/Agent/AppLinks.h"

#include "KestrumShared/Settings/Setting.h"
#include "Platform/Log/Identifier.h"
#include "Platform/Log/Log.h"

#include <QCoreApplication>
#include <QTimer>
#include <algorithm>
#include <limits>

namespace kestrum {

namespace {

constexpr char category[] = "links";
constexpr QLatin1StringView agentFolder("/Contents/Library/LoginItems");
// The length is passed explicitly: with sanitizers, the compiler cannot compute it in a constant expression.
constexpr QLatin1StringView agentPath(ProcessScan::agentPathSuffix, sizeof ProcessScan::agentPathSuffix - 1);

constexpr const char* agentVariables[] = { "KESTRUM_SETTINGS_SUITE", "KESTRUM_UI_TESTING",
    "KESTRUM_DISABLE_UPDATER", "KESTRUM_NO_LOGIN_ITEM", "KESTRUM_LANGUAGE" };

// The length of the first part of `agentPath`: a slash and the bundle's name.
qsizetype bundleNameLength()
{
    return agentPath.indexOf(u'/', 1);
}

double startOrNever(const ProcessScan::Entry& agent)
{
    return agent.started.value_or(std::numeric_limits<double>::infinity());
}

void logOpened(const Workspace::Opened& opened)
{
    if (!opened.error.isEmpty())
        Log::error(category, QStringLiteral("could not start the agent: %1").arg(opened.error));
    else
        Log::info(category, QStringLiteral("agent started, pid %1").arg(opened.pid.value_or(-1)));
}

void checkLater(int retriesLeft)
{
    QTimer::singleShot(AppLinks::checkDelay, Qt::PreciseTimer, QCoreApplication::instance(), [retriesLeft] {
        if (Setting(Keys::agentEnabled).value())
            AppLinks::launchAgentIfNeeded(retriesLeft);
    });
}

} // namespace

QString AppLinks::agentIdentifier()
{
    return applicationIdentifier + QStringLiteral(".agent");
}

QString AppLinks::embeddedAgentURL()
{
    return Bundle::main().path() + agentFolder + agentPath.first(bundleNameLength());
}

QString AppLinks::embeddedAgentProgram()
{
    return Bundle::main().path() + agentFolder + agentPath;
}

QList<ProcessScan::Entry> AppLinks::agentProcesses()
{
    return ProcessScan::agents();
}

bool AppLinks::isAgentRunning()
{
    return !agentProcesses().isEmpty();
}

std::optional<Bundle> AppLinks::runningAgentBundle(const QList<ProcessScan::Entry>& agents)
{
    // If start times are equal, the first agent in the scan's order counts.
    const auto first = std::min_element(agents.begin(), agents.end(),
        [](const auto& one, const auto& other) { return startOrNever(one) < startOrNever(other); });
    if (first == agents.end() || !first->path.endsWith(agentPath))
        return std::nullopt;
    const Bundle bundle(first->path.chopped(agentPath.size() - bundleNameLength()));
    return bundle.exists() ? std::optional(bundle) : std::nullopt;
}

QMap<QString, QString> AppLinks::testEnvironment()
{
    QMap<QString, QString> result;
    for (const char* name : agentVariables) {
        if (qEnvironmentVariableIsSet(name))
            result.insert(QLatin1StringView(name), qEnvironmentVariable(name));
    }
    return result;
}

void AppLinks::launchAgentIfNeeded(int retriesLeft)
{
    if (isAgentRunning()) {
        // The agent may have exited since the check, so the list may be empty.
        const QList<ProcessScan::Entry> agents = agentProcesses();
        Log::info(category,
            QStringLiteral("agent already running (pid %1); retries left %2")
                .arg(agents.isEmpty() ? 0 : agents.first().pid)
                .arg(retriesLeft));
        if (retriesLeft >= 1)
            checkLater(retriesLeft - 1);
        return;
    }
    Log::info(category, QStringLiteral("starting the agent at %1").arg(Log::escaped(embeddedAgentURL())));
    openAgent(logOpened);
}

void AppLinks::openAgent(const std::function<void(const Workspace::Opened&)>& completion)
{
    Workspace::OpenConfiguration configuration;
    configuration.activates = false;
    configuration.addsToRecentItems = false;
    configuration.createsNewApplicationInstance = false;
    configuration.allowsRunningApplicationSubstitution = false;
    configuration.environment = testEnvironment();
    Workspace::shared().openApplication(embeddedAgentURL(), configuration, completion);
}

void AppLinks::stopAgent()
{
    SharedSettings::post(SharedSettings::Signal::quitAgent);
}

} // namespace kestrum
