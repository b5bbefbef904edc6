#include "tests/DesktopStage.h"

#include "tests/StandIns.h"
#include "tests/VirtualDisplay.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QGuiApplication>
#include <QPixmap>
#include <QScreen>
#include <csignal>

namespace kestrum {

namespace {

QString text(const char* utf8)
{
    return QString::fromUtf8(utf8);
}

/// As `VirtualDisplay::xdotool`, where it is no fault that there is no answer.
QByteArray asked(const QStringList& arguments)
{
    QProcess process;
    process.start(text("xdotool"), arguments);
    process.waitForFinished(5000);
    return process.readAllStandardOutput().trimmed();
}

} // namespace

DesktopStage::DesktopStage()
{
    const QString built = qEnvironmentVariable("KESTRUM_BUILD") + text("/Kestrum.app");
    Programs::output(text("cp"), { text("-r"), built, m_tree.root() });
    Programs::output(text("cp"), { agentProgram(), m_tree.path(text("BuiltAgent")) });

    m_windowManager = Programs::started(text("openbox"), {});
    // It has begun its work once it keeps a list of windows. What is shown before is not taken care of.
    const bool isManaged = QTest::qWaitFor(
        [] {
            return Programs::output(text("xprop"), { text("-root"), text("_NET_CLIENT_LIST") })
                .contains("(WINDOW)");
        },
        20'000);
    m_other.setTitle(text("Other"));
    m_other.setGeometry(0, 0, 100, 60);
    m_other.show();
    m_isUp = isManaged && QFile::exists(program("Kestrum")) && QTest::qWaitForWindowExposed(&m_other);
}

DesktopStage::~DesktopStage()
{
    endSettingsApplications();
    endAgents();
    Programs::end(*m_windowManager);
}

QString DesktopStage::program(const char* name) const
{
    return bundle() + text("/Contents/MacOS/") + text(name);
}

QString DesktopStage::agentProgram() const
{
    return StandIns::agentOf(bundle());
}

void DesktopStage::useBuiltAgent() const
{
    removeAgent();
    QDir().mkpath(QFileInfo(agentProgram()).path());
    QVERIFY(QFile::copy(m_tree.path(text("BuiltAgent")), agentProgram()));
}

void DesktopStage::useStandInAgent() const
{
    removeAgent();
    QDir().mkpath(QFileInfo(agentProgram()).path());
    QVERIFY(QFile::copy(QCoreApplication::applicationDirPath() + text("/StandInAgent"), agentProgram()));
}

void DesktopStage::removeAgent() const
{
    QVERIFY(QDir(StandIns::agentBundleOf(bundle())).removeRecursively());
}

QByteArray DesktopStage::kestrumctl(const QStringList& arguments) const
{
    return Programs::output(program("kestrumctl"), arguments);
}

void DesktopStage::write(const char* key, const char* json) const
{
    kestrumctl({ text("write"), text(key), text(json) });
}

QList<qint32> DesktopStage::processes(const QString& path)
{
    const QString canonical
        = QFileInfo(QFileInfo(path).path()).canonicalFilePath() + u'/' + QFileInfo(path).fileName();
    QMap<qint32, qint32> parents;
    const QStringList entries = QDir(text("/proc")).entryList(QDir::Dirs);
    for (const QString& entry : entries) {
        const QString folder = text("/proc/") + entry;
        if (entry.toInt() <= 0 || QFile::symLinkTarget(folder + text("/exe")) != canonical)
            continue;
        QFile file(folder + text("/stat"));
        if (file.open(QIODevice::ReadOnly))
            parents.insert(
                entry.toInt(), file.readAll().split(')').last().trimmed().split(' ').value(1).toInt());
    }
    QList<qint32> pids;
    for (auto process = parents.cbegin(); process != parents.cend(); ++process) {
        if (!parents.contains(process.value()))
            pids.append(process.key());
    }
    return pids;
}

void DesktopStage::end(const QString& path)
{
    for (const qint32 pid : processes(path))
        ::kill(pid, SIGKILL);
    QTRY_VERIFY(processes(path).isEmpty());
}

QByteArray DesktopStage::windowOf(qint64 pid)
{
    QByteArray window;
    const auto search = [&] {
        window = asked({ text("search"), text("--onlyvisible"), text("--all"), text("--pid"),
            QString::number(pid), text("--name"), text("^Kestrum$") });
        return !window.isEmpty();
    };
    return QTest::qWaitFor(search, 5000) ? window.split('\n').first() : QByteArray();
}

QByteArray DesktopStage::activeWindow()
{
    return asked({ text("getactivewindow") });
}

void DesktopStage::turnToOther()
{
    turnTo(otherWindow());
    QVERIFY(QTest::qWaitForWindowActive(&m_other));
}

void DesktopStage::turnTo(const QByteArray& window)
{
    VirtualDisplay::xdotool({ text("windowactivate"), QString::fromLatin1(window) });
    QTRY_COMPARE(activeWindow(), window);
}

void DesktopStage::click(const QByteArray& window, QPoint place)
{
    VirtualDisplay::xdotool({ text("mousemove"), text("--window"), QString::fromLatin1(window),
        QString::number(place.x()), QString::number(place.y()), text("click"), text("1") });
}

QColor DesktopStage::colour(const QByteArray& window, QPoint place)
{
    return QGuiApplication::primaryScreen()
        ->grabWindow(window.toULongLong(), place.x(), place.y(), 1, 1)
        .toImage()
        .pixelColor(0, 0);
}

} // namespace kestrum
