#pragma once

#include "tests/Support/FileTree.h"
#include "tests/Support/Programs.h"
#include "tests/Support/Text.h"

#include <QImage>
#include <QPoint>
#include <QRasterWindow>

namespace kestrum {

/// The desktop of a virtual display: a window manager, a window of another program, and a copy of the built bundle, whose
/// programs are opened there. Make it after the application object, in a process table of the test's own. The destructor
/// kills the bundle's settings applications and agents by their ids.
class DesktopFixture {
public:
    DesktopFixture();
    ~DesktopFixture();
    Q_DISABLE_COPY_MOVE(DesktopFixture)

    bool isUp() const { return m_isUp; }

    QString bundle() const { return m_tree.path(QStringLiteral("Kestrum.app")); }
    QString program(const char* name) const;
    QString agentProgram() const;

    /// Installs the agent of the bundle: the built one, or a stand-in that behaves as KESTRUM_TEST_AGENT says
    /// (tests/Support/StandInAgentProgram.cpp).
    void useBuiltAgent() const;
    void useStandInAgent() const;
    void removeAgent() const;

    /// Runs the bundle's kestrumctl with the words of `line` and then `more`, and gives its output.
    QByteArray kestrumctl(const QByteArray& line, const QStringList& more = {}) const;
    void write(const char* key, const char* json) const;
    QByteArray read(const char* key) const;
    /// Starts "kestrumctl listen" with the words of `line`, and waits until it listens. Its output is read next.
    std::unique_ptr<QProcess> listener(const QByteArray& line) const;
    /// Removes all stored settings: all keys have their defaults again.
    static void forgetChoices();

    /// The file of the settings application's own preferences, and the language in it for the toolkit's own texts.
    static QString processDomain();
    static QString toolkitLanguage();

    /// The items of a strip with the current settings, in points from the strip's leading edge.
    struct Items {
        double width = 0; ///< of all items together
        QMap<QString, double> middles;
    };
    Items items() const;

    /// The agent's strip at the screen's trailing end: its height, the room on either side of its items, and the width that
    /// is visible when the strip's upper edge is at `top`.
    static constexpr int stripHeight = 22;
    static constexpr int stripSideRoom = 8;
    static int stripWidth(int top);
    /// The expected width of the strip with the current settings; 0 without any items.
    int expectedStripWidth() const;

    /// The processes of the program at `path`, without their children that are about to start other programs.
    static QList<qint32> processes(const QString& path);
    /// The environment with which a process was started: "NAME=VALUE" between null bytes, of which one comes first.
    static QByteArray environmentOf(qint64 pid);
    QList<qint32> settingsApplications() const { return processes(program("Kestrum")); }
    /// Waits until one process of `program` runs and it is not `old`; 0 if that takes too long. Both are checked in the same
    /// scan, because processes can start and end between two scans.
    static qint32 successor(const QString& program, qint32 old);
    qint32 settingsApplicationAfter(qint32 old) const { return successor(program("Kestrum"), old); }
    /// The one agent that runs, when it receives signals; else 0.
    qint32 listeningAgent() const;
    void endSettingsApplications() const { end(program("Kestrum")); }
    void endAgents() const { end(agentProgram()); }

    /// Waits until a process has a visible, painted main window, and gives it; empty if that takes too long.
    static QByteArray windowOf(qint64 pid);
    /// Its rectangle on the screen; empty when there is no such window.
    static QRect geometry(const QByteArray& window);
    /// The window that has the focus.
    static QByteArray activeWindow();

    /// The window of another program.
    QByteArray otherWindow() const { return QByteArray::number(m_other.winId()); }
    bool isOtherActive() const { return activeWindow() == otherWindow(); }
    /// Moves the focus to that window, or to `window`.
    void turnToOther();
    static void turnTo(const QByteArray& window);

    /// Mouse actions. Places are in `window` from its upper left corner, or on the screen when `window` is empty.
    static void moveTo(QPoint place, const QByteArray& window = {});
    static void click(QPoint place, const QByteArray& window = {});
    static void drag(QPoint from, QPoint to, const QByteArray& window = {});
    /// A picture of a part of the screen or of a window, and the colour at a place there.
    static QImage picture(const QRect& part, const QByteArray& window = {});
    static QColor colour(QPoint place, const QByteArray& window = {});

private:
    static void end(const QString& path);

    FileTree m_tree;
    QRasterWindow m_other;
    std::unique_ptr<QProcess> m_windowManager;
    bool m_isUp = false;
};

} // namespace kestrum
