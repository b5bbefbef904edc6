#include "tests/Support/DesktopFixture.h"

#include "tests/Support/StandIns.h"
#include "tests/Support/TestHome.h"
#include "tests/Support/Text.h"
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
QByteArray asked(const QStringList& arguments)
{
    QProcess process;
    process.start(text("xdotool"), arguments);
    process.waitForFinished(patience);
    return process.readAllStandardOutput().trimmed();
}

constexpr int startPatience = 10'000; ///< in ms, for what usually takes a tenth of a second

/// Whether the window manager is ready: only then does the root window have a list of windows. It ignores windows shown
/// earlier.
bool isManaged()
{
    return QTest::qWaitFor(
        [] {
            return Programs::output(text("xprop"), { text("-root"), text("_NET_CLIENT_LIST") })
                .contains("(WINDOW)");
        },
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

    m_other.setTitle(text("Other"));
    m_other.setGeometry(0, 0, 100, 60);
    m_windowManager = Programs::started(text("openbox"), {});
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

QByteArray DesktopFixture::kestrumctl(const QStringList& arguments) const
{
    return Programs::output(program("kestrumctl"), arguments);
}

void DesktopFixture::write(const char* key, const char* json) const
{
    kestrumctl({ text("write"), text(key), text(json) });
}

QByteArray DesktopFixture::read(const char* key) const
{
    return kestrumctl({ text("read"), text(key) });
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
    QFile file(processDomain());
    if (!file.open(QIODevice::ReadOnly))
        return {};
    const QJsonObject domain = QJsonDocument::fromJson(file.readAll()).object();
    return domain[QLatin1StringView("AppleLanguages")].toArray().first().toString();
}

DesktopFixture::Items DesktopFixture::items() const
{
    const QJsonObject strip = QJsonDocument::fromJson(kestrumctl({ text("describe") })).object();
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
        window = asked({ text("search"), text("--onlyvisible"), text("--all"), text("--pid"),
            QString::number(pid), text("--name"), text("^Kestrum$") });
        return !window.isEmpty();
    };
    return QTest::qWaitFor(search, patience) ? window.split('\n').first() : QByteArray();
}

QByteArray DesktopFixture::activeWindow()
{
    return asked({ text("getactivewindow") });
}

void DesktopFixture::turnToOther()
{
    turnTo(otherWindow());
    QVERIFY(QTest::qWaitForWindowActive(&m_other, patience));
}

void DesktopFixture::turnTo(const QByteArray& window)
{
    VirtualDisplay::xdotool({ text("windowactivate"), QString::fromLatin1(window) });
    QTRY_COMPARE_WITH_TIMEOUT(activeWindow(), window, patience);
}

void DesktopFixture::moveTo(QPoint place, const QByteArray& window)
{
    const QStringList whose
        = window.isEmpty() ? QStringList() : QStringList { text("--window"), QString::fromLatin1(window) };
    VirtualDisplay::xdotool(QStringList(text("mousemove")) + whose
        + QStringList { QString::number(place.x()), QString::number(place.y()) });
}

void DesktopFixture::click(QPoint place, const QByteArray& window)
{
    moveTo(place, window);
    VirtualDisplay::xdotool({ text("click"), text("1") });
}

void DesktopFixture::drag(QPoint from, QPoint to, const QByteArray& window)
{
    moveTo(from, window);
    VirtualDisplay::xdotool({ text("mousedown"), text("1") });
    moveTo((from + to) / 2, window);
    moveTo(to, window);
    VirtualDisplay::xdotool({ text("mouseup"), text("1") });
}

QImage DesktopFixture::picture(const QRect& part)
{
    return QGuiApplication::primaryScreen()
        ->grabWindow(0, part.x(), part.y(), part.width(), part.height())
        .toImage();
}

} // namespace kestrum
