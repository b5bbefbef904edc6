#pragma once

#include "tests/Support/FileTree.h"
#include "tests/Support/Programs.h"
#include "tests/Support/Text.h"

#include <QImage>
#include <QPoint>
#include <QRasterWindow>

namespace kestrum {

/// The desktop of a virtual display: a window manager, a window of another program, and a copy of the built bundle, from which
/// programs are opened. Construct it after the application object, in a separate process table. The destructor kills the
/// bundle's settings applications and agents by their ids.
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

    /// Runs the bundle's kestrumctl with the words of `line` and then `more`, and returns its output.
    QByteArray kestrumctl(const QByteArray& line, const QStringList& more = {}) const;
    void write(const char* key, const char* json) const;
    QByteArray read(const char* key) const;
    /// Starts "kestrumctl listen" with the words of `line`, and waits until it listens. The caller can then read its output.
    std::unique_ptr<QProcess> listener(const QByteArray& line) const;
    /// Removes all stored settings: all keys have their defaults again.
    static void forgetChoices();

    /// The file with the settings application's own preferences, and the language that this file holds for the toolkit's texts.
    static QString processDomain();
    static QString toolkitLanguage();

    /// The places of the strip's items with the current settings, in points from the strip's leading edge.
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

    /// The processes that run the program at `path`, without forked children that are about to start other programs.
    static QList<qint32> processes(const QString& path);
    /// The environment with which a process was started: "NAME=VALUE" texts, with a null byte before and after each.
    static QByteArray environmentOf(qint64 pid);
    QList<qint32> settingsApplications() const { return processes(program("Kestrum")); }
    /// Waits until exactly one process of `program` runs and its id is not `old`. Returns this id, or 0 after a timeout. One
    /// scan checks both conditions, because processes can start and end between two scans.
    static qint32 successor(const QString& program, qint32 old);
    qint32 settingsApplicationAfter(qint32 old) const { return successor(program("Kestrum"), old); }
    /// The process id of the agent if exactly one runs and it receives signals; else 0.
    qint32 listeningAgent() const;
    void endSettingsApplications() const { end(program("Kestrum")); }
    void endAgents() const { end(agentProgram()); }

    /// Waits until a process has a visible, painted main window. Returns this window; empty if that takes too long.
    static QByteArray windowOf(qint64 pid);
    /// The rectangle of a window on the screen; empty when there is no such window.
    static QRect geometry(const QByteArray& window);
    static QByteArray activeWindow();

    QByteArray otherWindow() const { return QByteArray::number(m_other.winId()); }
    bool isOtherActive() const { return activeWindow() == otherWindow(); }
    /// Moves the focus to the window of the other program, or to `window`.
    void turnToOther();
    static void turnTo(const QByteArray& window);

    /// Mouse actions. Places start at the upper left corner of `window`, or of the screen when `window` is empty.
    static void moveTo(QPoint place, const QByteArray& window = {});
    static void click(QPoint place, const QByteArray& window = {});
    static void drag(QPoint from, QPoint to, const QByteArray& window = {});
    /// A picture of a part of the screen or of a window, and the colour of one pixel.
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
