// SPDX-License-Identifier: MIT
#include "tests/Support/DayTroubles.h"

#include "tests/Support/OwnLimits.h"
#include "tests/Support/Programs.h"
#include "tests/Support/StormWriter.h"
#include "tests/Support/TestHome.h"
#include "tests/Support/Text.h"

#include <QRandomGenerator>
#include <QThread>
#include <csignal>
#include <fcntl.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

namespace kestrum {

namespace {

void check(int result, const char* what)
{
    if (result != 0)
        qWarning("%s: %s", what, qPrintable(qt_error_string(errno)));
}

/// Hides a file of the machine behind an empty one.
DayTrouble hidden(const char* path)
{
    return { path, DayTrouble::machine,
        [path] { check(::mount("/dev/null", path, nullptr, MS_BIND, nullptr), path); },
        [path] { check(::umount2(path, MNT_DETACH), path); } };
}

} // namespace

StoreMount::StoreMount()
    : m_origin(QFile::encodeName(TestHome::root() + text("/store")))
    , m_place(QFile::encodeName(TestHome::configDirectory()))
    , m_above(qgetenv("XDG_CONFIG_HOME"))
{
    ::mkdir(m_origin.constData(), 0700);
    ::mkdir(m_place.constData(), 0700);
    m_isUp = ::mount("kestrum", m_origin.constData(), "tmpfs", 0, "size=512k,mode=0700") == 0;
    if (m_isUp)
        mountAgain();
}

StoreMount::~StoreMount()
{
    unmount();
    check(::umount2(m_origin.constData(), MNT_DETACH), "unmount");
}

void StoreMount::mountAgain() const
{
    check(::mount(m_origin.constData(), m_place.constData(), nullptr, MS_BIND, nullptr), "mount");
}

void StoreMount::unmount() const
{
    check(::umount2(m_place.constData(), MNT_DETACH), "unmount");
}

void StoreMount::setReadOnly(bool isReadOnly) const
{
    const unsigned long flags = MS_REMOUNT | MS_BIND | (isReadOnly ? MS_RDONLY : 0);
    check(::mount(nullptr, m_place.constData(), nullptr, flags, nullptr), "remount");
}

void StoreMount::fill() const
{
    const QByteArray block(4096, 'x');
    const int file = ::open((m_origin + "/ballast").constData(), O_WRONLY | O_CREAT | O_CLOEXEC, 0600);
    while (::write(file, block.constData(), size_t(block.size())) > 0) { }
    ::close(file);
}

void StoreMount::makeRoom() const
{
    check(::unlink((m_origin + "/ballast").constData()), "make room");
}

void StoreMount::moveAway() const
{
    check(::rename(m_above.constData(), (m_above + ".away").constData()), "move away");
}

void StoreMount::moveBack() const
{
    // The programs may have made another one meanwhile, and may do so at any moment.
    for (int attempt = 0; attempt < 100; ++attempt) {
        QDir(QFile::decodeName(m_above)).removeRecursively();
        if (::rename((m_above + ".away").constData(), m_above.constData()) == 0)
            return;
    }
    check(-1, "move back");
}

std::vector<DayTrouble> dayTroubles(
    DayDesk& desk, StormWriter& writer, const StoreMount& store, bool hasOwnLimits)
{
    std::vector<DayTrouble> all;
    const auto add
        = [&all](const char* name, int kinds, std::function<void()> take, std::function<void()> give) {
              all.push_back({ name, kinds, std::move(take), std::move(give) });
          };
    const auto pause = [](qint64 pid) { check(::kill(pid_t(pid), SIGSTOP), "pause"); };
    const auto resume = [](qint64 pid) { check(::kill(pid_t(pid), SIGCONT), "resume"); };

    add(
        "display paused", DayTrouble::programs, [=, &desk] { pause(desk.displayServer()); },
        [=, &desk] { resume(desk.displayServer()); });
    add(
        "display ended", DayTrouble::programs | DayTrouble::lives, [&desk] { desk.endDisplay(); },
        [&desk] {
            desk.endPrograms();
            desk.startDisplay();
            desk.startAgent();
            desk.startWindow();
        });
    add(
        "agent killed", DayTrouble::programs | DayTrouble::lives, [&desk] { desk.kill(desk.agent()); },
        [&desk] { desk.startAgent(); });
    add(
        "agent paused", DayTrouble::programs, [=, &desk] { pause(desk.agent()); },
        [=, &desk] { resume(desk.agent()); });
    add(
        "window killed", DayTrouble::programs | DayTrouble::lives, [&desk] { desk.kill(desk.window()); },
        [&desk] { desk.startWindow(); });
    add(
        "agent switched off", DayTrouble::programs | DayTrouble::lives | DayTrouble::store,
        [&writer] { writer.write("agentEnabled [false]"); },
        [&] {
            writer.write("agentEnabled [true]");
            (void)QTest::qWaitFor([&] { return desk.agent() == 0; }, Programs::patience);
            desk.startAgent();
        });
    add(
        "another language", DayTrouble::programs | DayTrouble::lives | DayTrouble::store,
        [&writer] { writer.write("language [\"de\"]"); }, [&writer] { writer.write("language [\"en\"]"); });

    add(
        "bus paused", DayTrouble::bus,
        [=, &desk] {
            desk.setBusPaused(true);
            pause(desk.bus());
        },
        [=, &desk] {
            resume(desk.bus());
            desk.setBusPaused(false);
        });
    add(
        "bus ended", DayTrouble::bus, [&desk] { desk.endBus(); }, [&desk] { desk.startBus(); });
    add(
        "bridge detached", DayTrouble::bus, [&desk] { desk.detachBridge(); }, [] {});
    const QByteArray runtime = QFile::encodeName(TestHome::runtimeDirectory());
    add(
        "runtime folder cleared", DayTrouble::bus,
        [runtime] { QDir(QFile::decodeName(runtime + "/kestrum")).removeRecursively(); }, [] {});
    add(
        "runtime folder moved away", DayTrouble::bus,
        [runtime] { check(::rename(runtime.constData(), (runtime + ".away").constData()), "move away"); },
        [runtime] { check(::rename((runtime + ".away").constData(), runtime.constData()), "move back"); });
    add(
        "runtime folder open to others", DayTrouble::bus,
        [runtime] { check(::chmod(runtime.constData(), 0755), "open"); },
        [runtime] { check(::chmod(runtime.constData(), 0700), "close"); });

    add(
        "store unmounted", DayTrouble::store, [&] { writer.exchangeFile([&store] { store.unmount(); }); },
        [&] { writer.exchangeFileBack([&store] { store.mountAgain(); }); });
    add(
        "store moved away", DayTrouble::store, [&] { writer.exchangeFile([&store] { store.moveAway(); }); },
        [&] { writer.exchangeFileBack([&store] { store.moveBack(); }); });
    add(
        "store read-only", DayTrouble::store, [&store] { store.setReadOnly(true); },
        [&store] { store.setReadOnly(false); });
    add(
        "disk full", DayTrouble::store, [&store] { store.fill(); }, [&store] { store.makeRoom(); });
    add(
        "kestrumctl killed in saves", DayTrouble::store,
        [&desk] {
            for (int i = 0; i < 10; ++i) {
                const auto save = Programs::started(
                    desk.program("kestrumctl"), words("write --force dayNumber " + QByteArray::number(i)));
                QThread::usleep(QRandomGenerator::global()->bounded(20'000U));
                save->kill();
                save->waitForFinished(Programs::patience);
            }
        },
        [] {});

    if (!hasOwnLimits) {
        qInfo("the limits of inotify stay: this user has no name space with limits of its own");
    } else {
        for (const char* kind : { "watches", "instances" })
            add(
                kind, DayTrouble::watches, [kind] { (void)OwnLimits::setMost(kind, 0); },
                [kind] { (void)OwnLimits::setMost(kind, 100'000); });
    }
    if (!desk.hasClock()) {
        qInfo("clock and sensors stay: a sanitizer's library has to be loaded before any other");
    } else {
        constexpr qint64 day = 86'400;
        add(
            "clock a day ahead", DayTrouble::machine, [&desk] { desk.shiftClock(day); },
            [&desk] { desk.shiftClock(0); });
        add(
            "clock a day behind", DayTrouble::machine, [&desk] { desk.shiftClock(-day); },
            [&desk] { desk.shiftClock(0); });
    }
    if (!desk.machine().isEmpty()) {
        const QString sensors = desk.machine() + text("/sys/class/hwmon");
        add(
            "sensors", DayTrouble::machine, [sensors] { QDir().rename(sensors, sensors + text(".away")); },
            [sensors] { QDir().rename(sensors + text(".away"), sensors); });
    }
    for (const char* path : { "/proc/stat", "/proc/meminfo", "/proc/diskstats", "/proc/loadavg" })
        all.push_back(hidden(path));
    add(
        "/sys", DayTrouble::machine,
        [] { check(::mount("kestrum", "/sys", "tmpfs", MS_RDONLY, nullptr), "/sys"); },
        [] { check(::umount2("/sys", MNT_DETACH), "/sys"); });
    return all;
}

} // namespace kestrum
