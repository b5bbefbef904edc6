#pragma once

#include "tests/Support/Programs.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QTest>
#include <memory>

namespace kestrum {

/// The desktop portal in another process (tests/Support/PortalProgram.cpp), on the bus of DBUS_SESSION_BUS_ADDRESS. The
/// destructor ends that process.
class PortalProcess {
public:
    PortalProcess()
        : m_process(
            Programs::started(QCoreApplication::applicationDirPath() + QStringLiteral("/PortalProgram"), {}))
    {
        m_isUp = hears("ready");
    }
    ~PortalProcess() { Programs::end(*m_process); }
    Q_DISABLE_COPY_MOVE(PortalProcess)

    bool isUp() const { return m_isUp; }

    /// Changes a setting, such as "scheme 1" (see PortalProgram.cpp). False when the portal refuses the line.
    bool change(const QByteArray& line)
    {
        m_process->write(line + '\n');
        return hears("told");
    }

    /// Ten changes in order for end-to-end tests. Each one sets a new value.
    static const QByteArrayList& tenChanges()
    {
        static const QByteArrayList lines { "scheme 1", "accent 0.9 0.1 0.1", "scheme 2",
            "accent 0.1 0.6 0.1", "scheme 1", "accent 0.6 0.1 0.7", "scheme 2", "accent 0.1 0.2 0.9",
            "scheme 1", "scheme 2" };
        return lines;
    }

private:
    bool hears(const char* line) const
    {
        while (!m_process->canReadLine()) {
            if (!m_process->waitForReadyRead(Programs::patience))
                return false;
        }
        return m_process->readLine().trimmed() == line;
    }

    std::unique_ptr<QProcess> m_process;
    bool m_isUp = false;
};

} // namespace kestrum
