#pragma once

#include "Platform/Processes/Workspace.h"
#include "tests/Support/FileContent.h"
#include "tests/Support/StandIns.h"
#include "tests/Support/TestHome.h"

#include <QFile>
#include <QSet>
#include <QTest>
#include <memory>
#include <optional>

namespace kestrum {

/// A test's bundle "Stand In.app", and the processes that the workspace started from it.
class WorkspaceFixture {
protected:
    static void prepareStage()
    {
        // After a bundle's removal, the workspace watches the folders above it. Only this test may use these folders.
        const QString folder = TestHome::root() + QStringLiteral("/trees/of/tests");
        QVERIFY(QDir().mkpath(folder));
        qputenv("TMPDIR", QFile::encodeName(folder));
    }

    void setStage()
    {
        m_standIns = std::make_unique<StandIns>();
        m_opened.clear();
    }

    void clearStage()
    {
        for (const qint32 pid : std::as_const(m_opened)) {
            if (exists(pid))
                StandIns::kill(pid);
            QTRY_VERIFY(!exists(pid));
        }
        m_standIns.reset();
        QTest::qWait(20); // until the notices of this test have arrived
    }

    QString bundle() const { return m_standIns->path(QStringLiteral("Stand In.app")); }
    QString install() const
    {
        return m_standIns->install(QStringLiteral("Stand In.app/Contents/MacOS/Stand In"));
    }

    /// Opens the bundle at `path`; by default, the test's own bundle.
    Workspace::Opened open(const Workspace::OpenConfiguration& configuration = {}, const QString& path = {})
    {
        std::optional<Workspace::Opened> result;
        Workspace::shared().openApplication(path.isEmpty() ? bundle() : path, configuration,
            [&result](const Workspace::Opened& opened) { result = opened; });
        if (!QTest::qWaitFor([&result] { return result.has_value(); }))
            return {};
        if (result->pid)
            m_opened.insert(*result->pid);
        return *result;
    }

    static QString procPath(qint32 pid, const char* name)
    {
        return QStringLiteral("/proc/%1/%2").arg(pid).arg(QLatin1StringView(name));
    }

    /// Whether a process exists; a zombie also counts.
    static bool exists(qint32 pid) { return QFile::exists(procPath(pid, "stat")); }

    std::unique_ptr<StandIns> m_standIns;
    QSet<qint32> m_opened;
};

} // namespace kestrum
