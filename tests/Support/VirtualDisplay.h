#pragma once

#include <QByteArray>
#include <QProcess>
#include <QStringList>

namespace kestrum {

/// An X server of the test's own, `width` × `height` points at scale 1, with no session bus: what this process starts and its own
/// application object are shown there. Made before the application object.
class VirtualDisplay {
public:
    static constexpr int width = 1000;
    static constexpr int height = 800;

    VirtualDisplay();
    ~VirtualDisplay();
    Q_DISABLE_COPY_MOVE(VirtualDisplay)

    /// False, with a warning, when the server did not start.
    bool isUp() const { return m_isUp; }

    /// Runs xdotool, the hands at this display, and gives what it prints.
    static QByteArray xdotool(const QStringList& arguments);

private:
    QProcess m_server;
    bool m_isUp = false;
};

} // namespace kestrum
