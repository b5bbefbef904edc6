#pragma once

#include "tests/Support/HelperProcess.h"
#include "tests/Support/Programs.h"

#include <QElapsedTimer>
#include <QTest>

namespace kestrum {

/// The desktop portal in another process (tests/Support/PortalProgram.cpp), on the bus of DBUS_SESSION_BUS_ADDRESS.
class PortalProcess {
public:
    bool isUp() const { return m_isUp; }

    /// Changes a setting, such as "scheme 1" (see PortalProgram.cpp). False when the portal refuses the line.
    bool change(const QByteArray& line)
    {
        m_process.say(line);
        return m_process.line() == "told";
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
    HelperProcess m_process { {}, QStringLiteral("PortalProgram") };
    bool m_isUp = m_process.line() == "ready";
};

} // namespace kestrum
