#pragma once

#include "KestrumShared/Agent/AppLinks.h"
#include "KestrumShared/Settings/Setting.h"
#include "tests/Support/FreshSettings.h"
#include "tests/Support/OwnAgents.h"
#include "tests/Support/StandIns.h"

#include <QElapsedTimer>
#include <QRegularExpression>
#include <QTest>
#include <algorithm>
#include <memory>
#include <utility>

namespace kestrum {

/// A test with a main bundle that contains a stand-in for the agent. It records the log's lines about the agent.
class LaunchFixture : public QObject {
    Q_OBJECT

private Q_SLOTS:
    void initTestCase()
    {
        skipAmongAgentsOfOthers();
        registerFactoryDefaults();
        log().other = qInstallMessageHandler(noteMessage);
    }
    void cleanupTestCase() { qInstallMessageHandler(log().other); }

    void init()
    {
        forgetSettings();
        m_standIns = std::make_unique<StandIns>();
        m_standIns->install(agentPlace);
        Bundle::setMain(Bundle(m_standIns->path(QStringLiteral("Kestrum.app"))));
        log().lines.clear();
        log().sinceBegin.start();
    }

    void cleanup()
    {
        // Waits until each start has logged its result. With the setting off, each chain of checks ends at its next check.
        QTRY_COMPARE(texts().filter(QStringLiteral("starting the agent at ")).size(),
            texts().filter(QRegularExpression(QStringLiteral("^(agent started|could not start)"))).size());
        Setting(Keys::agentEnabled).set(false);
        for (const qint32 pid : runningPids())
            StandIns::kill(pid);
        QTRY_VERIFY(!AppLinks::isAgentRunning());
        m_standIns.reset();
        static const QRegularExpression isFollowed(QStringLiteral("retries left [1-9]"));
        qint64 end = 0;
        for (const Line& line : lines()) {
            if (line.text.contains(isFollowed))
                end = line.at + nextCheck;
        }
        QTest::qWait(int(std::max<qint64>(0, end - log().sinceBegin.elapsed())));
        QVERIFY(!AppLinks::isAgentRunning());
        Bundle::setMain(m_mainBefore);
    }

protected:
    struct Line {
        QtMsgType type;
        QString text;
        qint64 at; ///< ms since the test began
    };

    static constexpr int nextCheck = 700; ///< in ms: the longest time until the next check of a chain
    static inline const QString agentPlace = StandIns::agentOf(QStringLiteral("Kestrum.app"));

    static QList<qint32> runningPids() { return agentPids(); }

    /// The lines that were logged in the category "links" since the test began.
    static const QList<Line>& lines() { return log().lines; }
    static QStringList texts()
    {
        QStringList result;
        for (const Line& line : lines())
            result.append(line.text);
        return result;
    }

    std::unique_ptr<StandIns> m_standIns;

private:
    struct Log {
        QList<Line> lines;
        QElapsedTimer sinceBegin;
        QtMessageHandler other = nullptr;
    };
    static Log& log()
    {
        static Log log;
        return log;
    }
    static void noteMessage(QtMsgType type, const QMessageLogContext& context, const QString& message)
    {
        if (qstrcmp(context.category, "com.orvale.kestrum.links") == 0)
            log().lines.append({ type, message, log().sinceBegin.elapsed() });
        else
            log().other(type, context, message);
    }

    Bundle m_mainBefore = Bundle::main();
};

} // namespace kestrum
