// SPDX-License-Identifier: MIT
#include "tests/Support/DayDesk.h"

#include "tests/Support/DesktopFixture.h"
#include "tests/Support/Programs.h"
#include "tests/Support/StandIns.h"
#include "tests/Support/TestHome.h"
#include "tests/Support/Text.h"

#include <QCoreApplication>
#include <QDBusConnectionInterface>
#include <QDBusReply>
#include <csignal>
#include <sys/prctl.h>

namespace kestrum {

using Programs::patience;

DayDesk::DayDesk()
{
    qputenv("DBUS_SYSTEM_BUS_ADDRESS", "disabled:");
    qputenv("KESTRUM_DISABLE_UPDATER", "1");
    Programs::output(text("cp"),
        { text("-r"), qEnvironmentVariable("KESTRUM_BUILD") + text("/Kestrum.app"), m_tree.root() });
    m_hasClock = QFile::exists(clockLibrary());
    shiftClock(0);
    // Neither library would come before a sanitizer's.
    if (m_hasClock)
        startMachine();
}

DayDesk::~DayDesk()
{
    endPrograms();
    endBus();
    endDisplay();
    if (m_machine)
        Programs::end(*m_machine);
}

QString DayDesk::program(const char* name) const
{
    return m_tree.path(text("Kestrum.app/Contents/MacOS/") + text(name));
}

QString DayDesk::agentProgram() const
{
    return StandIns::agentOf(m_tree.path(text("Kestrum.app")));
}

QByteArray DayDesk::kestrumctl(const QStringList& words) const
{
    const Programs::Ended ended = Programs::run(program("kestrumctl"), words);
    return ended.code == 0 ? ended.output.trimmed() : QByteArray();
}

void DayDesk::startDisplay()
{
    const QByteArray bus = qgetenv("DBUS_SESSION_BUS_ADDRESS");
    m_display = std::make_unique<VirtualDisplay>();
    if (m_bus)
        qputenv("DBUS_SESSION_BUS_ADDRESS", bus);
    m_windowManager = Programs::started(text("openbox"), {});
    (void)QTest::qWaitFor(
        [] {
            return Programs::run(text("xprop"), words("-root _NET_CLIENT_LIST")).output.contains("(WINDOW)");
        },
        patience);
    VirtualDisplay::xdotool("mousemove 990 790");
}

void DayDesk::endDisplay()
{
    m_display.reset();
    if (m_windowManager)
        Programs::end(*m_windowManager);
    m_windowManager.reset();
}

void DayDesk::startBus()
{
    m_bus = std::make_unique<SessionBus>(SessionBus::Services::none);
}

void DayDesk::endBus()
{
    const QByteArray address = qgetenv("DBUS_SESSION_BUS_ADDRESS");
    m_bus.reset();
    qputenv("DBUS_SESSION_BUS_ADDRESS", address); // programs that start meanwhile know where it will be
}

void DayDesk::start(std::unique_ptr<QProcess>& process, const QString& program, const QString& log,
    const Programs::Variables& variables) const
{
    process = std::make_unique<QProcess>();
    process->setProcessEnvironment(Programs::environment(variables));
    process->setStandardErrorFile(log, QIODevice::Append);
    process->setStandardOutputFile(QProcess::nullDevice());
    process->setChildProcessModifier([] { ::prctl(PR_SET_PDEATHSIG, SIGTERM); });
    process->start(program, {});
    process->waitForStarted(patience);
}

QString DayDesk::clockLibrary() const
{
    return qEnvironmentVariable("KESTRUM_BUILD") + text("/tests/plugins/ClockLibrary.so");
}

void DayDesk::shiftClock(qint64 seconds) const
{
    QFile file(clockFile());
    if (!file.open(QIODevice::ReadWrite)
        || file.write(reinterpret_cast<const char*>(&seconds), sizeof seconds) != sizeof seconds)
        qWarning("the clock cannot be changed: %s", qPrintable(file.errorString()));
}

/// A recorded machine, which lasts as long as the process that holds it.
void DayDesk::startMachine()
{
    m_machine = Programs::started(text("umockdev-run"),
        { text("--device"), qEnvironmentVariable("KESTRUM_SOURCE") + text("/tests/machines/laptop.umockdev"),
            text("--"), text("sh"), text("-c"), text("echo $UMOCKDEV_DIR; exec cat") });
    if (m_machine->waitForReadyRead(patience))
        m_machineFolder = QString::fromUtf8(m_machine->readLine().trimmed());
}

/// The variables by which a program gets the desk's clock and machine. The window passes them on to the agents that it starts.
Programs::Variables DayDesk::variables() const
{
    // Whoever loses the display exits from within the toolkit, which frees nothing.
    if (Programs::areSanitized)
        return { { "ASAN_OPTIONS", "detect_leaks=0" } };
    if (!m_hasClock)
        return {};
    QByteArray libraries = QFile::encodeName(clockLibrary());
    Programs::Variables variables { { "KESTRUM_TEST_CLOCK", QFile::encodeName(clockFile()) } };
    if (!m_machineFolder.isEmpty()) {
        libraries += ":libumockdev-preload.so.0";
        variables.append({ "UMOCKDEV_DIR", QFile::encodeName(m_machineFolder) });
    }
    variables.append({ "LD_PRELOAD", libraries });
    return variables;
}

void DayDesk::startAgent()
{
    start(m_agent, agentProgram(), agentLog(), variables());
}

void DayDesk::startWindow()
{
    start(m_window, program("Kestrum"), windowLog(), variables());
}

/// The process of `program`, if it is the only one; else 0.
qint32 DayDesk::only(const QString& program) const
{
    const QList<qint32> pids = DesktopFixture::processes(program);
    return pids.size() == 1 ? pids.first() : 0;
}

qint32 DayDesk::agent() const
{
    return only(agentProgram());
}

qint32 DayDesk::window() const
{
    return only(program("Kestrum"));
}

void DayDesk::kill(qint32 pid)
{
    if (pid <= 0)
        return;
    ::kill(pid, SIGKILL);
    (void)QTest::qWaitFor([&] { return ::kill(pid, 0) != 0; }, patience);
}

void DayDesk::endPrograms()
{
    for (const QString& program : { this->program("Kestrum"), agentProgram() }) {
        for (const qint32 pid : DesktopFixture::processes(program))
            kill(pid);
    }
    m_agent.reset();
    m_window.reset();
}

void DayDesk::tendBridge()
{
    if (!m_bus || m_isBusPaused)
        return;
    if (m_bridge && !QDBusConnection(m_bridge->connectionName()).isConnected())
        m_bridge.reset();
    if (!m_bridge) {
        m_bridge = std::make_unique<BridgeClient>(m_bus->address());
        m_agentName.clear();
    }
    const QDBusReply<QString> owner
        = QDBusConnection(m_bridge->connectionName()).interface()->serviceOwner(PanelContract::service);
    const QString name = owner.isValid() ? owner.value() : QString();
    if (name == m_agentName)
        return;
    m_agentName = name;
    m_bridge->number = 0;
    m_bridge->items.clear();
    if (name.isEmpty())
        return;
    ++m_attachments;
    m_bridge->attach({ { text("scale"), 2.0 }, { text("foreground"), text("#ffffff") } });
    // An agent that answers too late would keep the number for this client, so it has to be another client.
    if (m_bridge->number == 0)
        m_bridge.reset();
}

void DayDesk::detachBridge()
{
    if (BridgeClient* attached = bridge())
        (void)attached->call("Detach", { attached->number });
    m_bridge.reset();
}

bool DayDesk::save(const QString& picture) const
{
    return Programs::run(
               QCoreApplication::applicationDirPath() + text("/HostScreen"), { text("save"), picture })
               .code
        == 0;
}

} // namespace kestrum
