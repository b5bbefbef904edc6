#pragma once

#include "KestrumAgent/Agent.h"
#include "tests/Support/FreshSettings.h"

#include <QApplication>
#include <QTest>
#include <QTimer>
#include <memory>
#include <optional>

namespace kestrum {

/// The agent within the test's process: a base of test classes.
class AgentInProcess {
protected:
    std::unique_ptr<Agent> m_agent;

    /// Ends the running agent, and starts another one.
    void startAgent(std::optional<double> launched = std::nullopt)
    {
        m_agent.reset();
        m_agent = std::make_unique<Agent>();
        m_agent->start(launched);
    }

    /// Runs `function` and the event loop until something quits the application. Returns the exit code, or -1 after 5 s.
    template <class Function> static int runWith(Function function)
    {
        QTimer::singleShot(0, qApp, function);
        QTimer unstoppable;
        QObject::connect(&unstoppable, &QTimer::timeout, qApp, [] { QCoreApplication::exit(-1); });
        unstoppable.start(5000);
        return QApplication::exec();
    }

    /// Starts an agent with fresh settings.
    void startAnew()
    {
        forgetSettings();
        QTest::qWait(20); // until the notice of this change has arrived
        startAgent();
    }
};

} // namespace kestrum
