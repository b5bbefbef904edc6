#pragma once

#include <QByteArray>
#include <QProcess>
#include <QSize>
#include <QStringList>

namespace kestrum {

/// A private X server of `width` × `height` points at scale 1, or of another size, without a session bus. This process and its
/// children show their windows there. Construct it before the application object.
class VirtualDisplay {
public:
    static constexpr int width = 1000;
    static constexpr int height = 800;

    /// With `isDouble`, the server has a second screen of the same size, on which this process shows its windows.
    explicit VirtualDisplay(QSize size = { width, height }, bool isDouble = false);
    ~VirtualDisplay();
    Q_DISABLE_COPY_MOVE(VirtualDisplay)

    /// False, with a warning, when the server did not start.
    bool isUp() const { return m_isUp; }
    qint64 processId() const { return m_server.processId(); }

    /// Runs xdotool on this display with the words of `line` and then `more`, and returns its output.
    static QByteArray xdotool(const QByteArray& line, const QStringList& more = {});

private:
    QProcess m_server;
    bool m_isUp = false;
};

} // namespace kestrum
