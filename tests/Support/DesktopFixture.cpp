#include "tests/Support/DesktopFixture.h"

#include "tests/Support/StandIns.h"
#include "tests/Support/TestHome.h"
#include "tests/Support/VirtualDisplay.h"

#include <QCoreApplication>
#include <QFileInfo>
#include <QGuiApplication>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QPixmap>
#include <QScreen>
#include <cmath>
#include <csignal>

namespace kestrum {

using Programs::patience;

namespace {

/// Like `VirtualDisplay::xdotool`, for commands that may fail.
QByteArray asked(const QByteArray& line)
{
    return Programs::run(text("xdotool"), words(line)).output.trimmed();
}

constexpr int startPatience = 10'000; ///< in ms, for what usually takes a tenth of a second

constexpr const char* usualWindowManager = "openbox";

/// The command that starts the window manager: another one if KESTRUM_WINDOW_MANAGER says so.
QByteArray windowManager()
{
    return qEnvironmentVariableIsSet("KESTRUM_WINDOW_MANAGER") ? qgetenv("KESTRUM_WINDOW_MANAGER")
                                                               : QByteArray(usualWindowManager);
}

/// Whether the window manager is ready: only then, the root window has a list of windows. The window manager ignores windows
/// that were shown earlier. Other window managers may make the list with the first window.
bool isManaged()
{
    const QByteArray property
        = windowManager() == usualWindowManager ? "_NET_CLIENT_LIST" : "_NET_SUPPORTING_WM_CHECK";
    return QTest::qWaitFor(
        [&] { return Programs::output(text("xprop"), words("-root " + property)).contains("(WINDOW)"); },
        startPatience);
}

/// A window manager may lose a request to show a window right after its start, so the request is repeated.
bool isShown(QWindow& window)
{
    for (int attempt = 0; attempt < 10; ++attempt) {
        window.show();
        if (QTest::qWaitForWindowExposed(&window, startPatience / 10))
            return true;
        window.hide();
    }
    return false;
}

} // namespace

DesktopFixture::DesktopFixture()
{
    const QString built = qEnvironmentVariable("KESTRUM_BUILD") + text("/Kestrum.app");
    Programs::output(text("cp"), { text("-r"), built, m_tree.root() });
    Programs::output(text("cp"), { agentProgram(), m_tree.path(text("BuiltAgent")) });

    qputenv("KESTRUM_TEST_REPORT", QFile::encodeName(m_tree.path(text("listening"))));
    m_other.setTitle(text("Other"));
    m_other.setGeometry(0, 0, 100, 60);
    QStringList command = words(windowManager());
    m_windowManager = Programs::started(command.takeFirst(), command);
    m_isUp = QFile::exists(program("Kestrum")) && isManaged() && isShown(m_other);
}

DesktopFixture::~DesktopFixture()
{
    endSettingsApplications();
    endAgents();
    Programs::end(*m_windowManager);
}

QString DesktopFixture::program(const char* name) const
{
    return bundle() + text("/Contents/MacOS/") + text(name);
}

QString DesktopFixture::agentProgram() const
{
    return StandIns::agentOf(bundle());
}

void DesktopFixture::useBuiltAgent() const
{
    removeAgent();
    QDir().mkpath(QFileInfo(agentProgram()).path());
    QVERIFY(QFile::copy(m_tree.path(text("BuiltAgent")), agentProgram()));
}

void DesktopFixture::useStandInAgent() const
{
    removeAgent();
    QDir().mkpath(QFileInfo(agentProgram()).path());
    QVERIFY(QFile::copy(QCoreApplication::applicationDirPath() + text("/StandInAgent"), agentProgram()));
}

void DesktopFixture::removeAgent() const
{
    QVERIFY(QDir(StandIns::agentBundleOf(bundle())).removeRecursively());
}

QByteArray DesktopFixture::kestrumctl(const QByteArray& line, const QStringList& more) const
{
    return Programs::output(program("kestrumctl"), words(line) + more);
}

void DesktopFixture::write(const char* key, const char* json) const
{
    kestrumctl("write", { text(key), text(json) });
}

QByteArray DesktopFixture::read(const char* key) const
{
    return kestrumctl("read", { text(key) });
}

std::unique_ptr<QProcess> DesktopFixture::listener(const QByteArray& line) const
{
    auto listener = Programs::started(program("kestrumctl"), words("listen --timeout 20 " + line));
    listener->setReadChannel(QProcess::StandardError);
    if (!listener->waitForReadyRead(patience) || listener->readAllStandardError() != "listening\n")
        qWarning("nothing listens to %s", line.constData());
    listener->setReadChannel(QProcess::StandardOutput);
    return listener;
}

void DesktopFixture::forgetChoices()
{
    QDir(TestHome::configDirectory()).removeRecursively();
}

QString DesktopFixture::processDomain()
{
    return TestHome::configDirectory() + text("/com.orvale.kestrum.json");
}

QString DesktopFixture::toolkitLanguage()
{
    const QJsonObject domain = QJsonDocument::fromJson(contentOf(processDomain())).object();
    return domain[QLatin1StringView("AppleLanguages")].toArray().first().toString();
}

DesktopFixture::Items DesktopFixture::items() const
{
    const QJsonObject strip = QJsonDocument::fromJson(kestrumctl("describe")).object();
    Items result { strip[QLatin1StringView("width")].toDouble(), {} };
    const QJsonArray items = strip[QLatin1StringView("items")].toArray();
    for (const auto& item : items) {
        const QJsonObject object = item.toObject();
        result.middles.insert(object[QLatin1StringView("section")].toString(),
            object[QLatin1StringView("x")].toDouble() + object[QLatin1StringView("width")].toDouble() / 2);
    }
    return result;
}

int DesktopFixture::stripWidth(int top)
{
    const QImage row = picture({ 0, top + stripHeight / 2, VirtualDisplay::width, 1 });
    int left = row.width();
    while (left > 0 && row.pixelColor(left - 1, 0) != QColor(Qt::black))
        --left;
    return row.width() - left;
}

int DesktopFixture::expectedStripWidth() const
{
    const double width = items().width;
    return width > 0 ? int(std::ceil(width)) + 2 * stripSideRoom : 0;
}

QList<qint32> DesktopFixture::processes(const QString& path)
{
    const QString canonical
        = QFileInfo(QFileInfo(path).path()).canonicalFilePath() + u'/' + QFileInfo(path).fileName();
    QMap<qint32, qint32> parents;
    const QStringList entries = QDir(text("/proc")).entryList(QDir::Dirs);
    for (const QString& entry : entries) {
        const QString folder = text("/proc/") + entry;
        if (entry.toInt() <= 0 || QFile::symLinkTarget(folder + text("/exe")) != canonical)
            continue;
        if (const QByteArray stat = contentOf(folder + text("/stat")); stat.contains(')'))
            parents.insert(entry.toInt(), stat.split(')').last().trimmed().split(' ').value(1).toInt());
    }
    QList<qint32> pids;
    for (auto process = parents.cbegin(); process != parents.cend(); ++process) {
        if (!parents.contains(process.value()))
            pids.append(process.key());
    }
    return pids;
}

QByteArray DesktopFixture::environmentOf(qint64 pid)
{
    return '\0' + contentOf(text("/proc/%1/environ").arg(pid));
}

qint32 DesktopFixture::successor(const QString& program, qint32 old)
{
    QList<qint32> pids;
    const bool isThere = QTest::qWaitFor(
        [&] {
            pids = processes(program);
            return pids.size() == 1 && pids.first() != old;
        },
        patience);
    return isThere ? pids.first() : 0;
}

qint32 DesktopFixture::listeningAgent() const
{
    const QList<qint32> pids = processes(agentProgram());
    // A stand-in reports that it listens. The built agent listens once its strip is shown, and handles older requests then.
    const auto isListening = [this](qint32 pid) {
        const QByteArrayList reported = contentOf(m_tree.path(text("listening"))).split('\n');
        return stripWidth(0) > 0 || reported.contains(QByteArray::number(pid));
    };
    return pids.size() == 1 && isListening(pids.first()) ? pids.first() : 0;
}

void DesktopFixture::end(const QString& path)
{
    for (const qint32 pid : processes(path))
        ::kill(pid, SIGKILL);
    QTRY_VERIFY_WITH_TIMEOUT(processes(path).isEmpty(), patience);
}

QByteArray DesktopFixture::windowOf(qint64 pid)
{
    QByteArray window;
    const auto search = [&] {
        window = asked("search --onlyvisible --all --pid " + QByteArray::number(pid) + " --name ^Kestrum$");
        return !window.isEmpty();
    };
    return QTest::qWaitFor(search, patience) ? window.split('\n').first() : QByteArray();
}

QRect DesktopFixture::geometry(const QByteArray& window)
{
    QMap<QByteArray, int> values;
    for (const QByteArray& line : asked("getwindowgeometry --shell " + window).split('\n'))
        values.insert(line.split('=').value(0), line.split('=').value(1).toInt());
    return { values["X"], values["Y"], values["WIDTH"], values["HEIGHT"] };
}

QByteArray DesktopFixture::activeWindow()
{
    return asked("getactivewindow");
}

void DesktopFixture::turnToOther()
{
    turnTo(otherWindow());
    QVERIFY(QTest::qWaitForWindowActive(&m_other, patience));
}

void DesktopFixture::turnTo(const QByteArray& window)
{
    VirtualDisplay::xdotool("windowactivate", { QString::fromLatin1(window) });
    QTRY_COMPARE_WITH_TIMEOUT(activeWindow(), window, patience);
}

void DesktopFixture::moveTo(QPoint place, const QByteArray& window)
{
    const QByteArray whose = window.isEmpty() ? "" : "--window " + window;
    VirtualDisplay::xdotool(
        "mousemove " + whose + ' ' + QByteArray::number(place.x()) + ' ' + QByteArray::number(place.y()));
}

void DesktopFixture::click(QPoint place, const QByteArray& window)
{
    moveTo(place, window);
    VirtualDisplay::xdotool("click 1");
}

void DesktopFixture::drag(QPoint from, QPoint to, const QByteArray& window)
{
    moveTo(from, window);
    VirtualDisplay::xdotool("mousedown 1");
    moveTo((from + to) / 2, window);
    moveTo(to, window);
    VirtualDisplay::xdotool("mouseup 1");
}

QImage DesktopFixture::picture(const QRect& part, const QByteArray& window)
{
    return QGuiApplication::primaryScreen()
        ->grabWindow(window.toULongLong(), part.x(), part.y(), part.width(), part.height())
        .toImage();
}

QColor DesktopFixture::colour(QPoint place, const QByteArray& window)
{
    return picture({ place, QSize(1, 1) }, window).pixelColor(0, 0);
}

} // namespace kestrum
