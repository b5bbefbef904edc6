#pragma once

#include "tests/Support/FileTree.h"
#include "tests/Support/Programs.h"

#include <QImage>
#include <QPoint>
#include <QRasterWindow>

namespace kestrum {

/// A virtual display's desktop: a window manager, a window of somebody else's program, and a copy of the built bundle that is
/// opened there. Made after the application object, among processes of its own; what runs of the bundle at the end is
/// killed, by ids.
class DesktopFixture {
public:
    DesktopFixture();
    ~DesktopFixture();
    Q_DISABLE_COPY_MOVE(DesktopFixture)

    bool isUp() const { return m_isUp; }

    QString bundle() const { return m_tree.path(QStringLiteral("Kestrum.app")); }
    QString program(const char* name) const;
    QString agentProgram() const;

    /// Whether the agent of the bundle is that which was built, or one that does as KESTRUM_TEST_AGENT says
    /// (tests/Support/StandInAgentProgram.cpp).
    void useBuiltAgent() const;
    void useStandInAgent() const;
    void removeAgent() const;

    QByteArray kestrumctl(const QStringList& arguments) const;
    void write(const char* key, const char* json) const;
    QByteArray read(const char* key) const;
    /// Forgets every choice: all keys have their defaults again.
    static void forgetChoices();

    /// The settings application's settings for itself, and the language in them that the toolkit's own texts are asked for.
    static QString processDomain();
    static QString toolkitLanguage();

    /// The items as they stand in a strip with the present settings, in points from its leading edge.
    struct Items {
        double width = 0; ///< of all together
        QMap<QString, double> middles;
    };
    Items items() const;

    /// The agent's strip at the screen's trailing end: its height, the room on either side of its items, and how wide what is
    /// seen of it is when its upper edge is at `top`.
    static constexpr int stripHeight = 22;
    static constexpr int stripSideRoom = 8;
    static int stripWidth(int top);
    /// How wide it is to be with the present settings, 0 with no items.
    int expectedStripWidth() const;

    /// Processes of the program at `path`; not their children, which are about to become other programs.
    static QList<qint32> processes(const QString& path);
    QList<qint32> settingsApplications() const { return processes(program("Kestrum")); }
    /// The one process of `program` once it is another than `old`; 0 when that does not come. One count decides: between two of
    /// them the old process may end.
    static qint32 successor(const QString& program, qint32 old);
    qint32 settingsApplicationAfter(qint32 old) const { return successor(program("Kestrum"), old); }
    void endSettingsApplications() const { end(program("Kestrum")); }
    void endAgents() const { end(agentProgram()); }

    /// The visible main window of a process, once it is there and painted; empty when it does not come.
    static QByteArray windowOf(qint64 pid);
    /// The window that has the focus.
    static QByteArray activeWindow();

    /// Somebody else's window.
    QByteArray otherWindow() const { return QByteArray::number(m_other.winId()); }
    /// People turn to it, or from it to `window`.
    void turnToOther();
    static void turnTo(const QByteArray& window);

    /// The mouse. Places are those of `window`, whose upper left corner is 0,0, or of the screen.
    static void moveTo(QPoint place, const QByteArray& window = {});
    static void click(QPoint place, const QByteArray& window = {});
    static void drag(QPoint from, QPoint to, const QByteArray& window = {});
    /// What is seen on the screen.
    static QImage picture(const QRect& part);

private:
    static void end(const QString& path);

    FileTree m_tree;
    QRasterWindow m_other;
    std::unique_ptr<QProcess> m_windowManager;
    bool m_isUp = false;
};

} // namespace kestrum
