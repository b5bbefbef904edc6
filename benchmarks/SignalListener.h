// SPDX-License-Identifier: MIT
#pragma once

#include "Platform/Signals/NotificationCentre.h"
#include "Platform/Store/UserDefaults.h"
#include "benchmarks/GSettingsPeer.h"

#include <QCoreApplication>
#include <QFile>
#include <QFileSystemWatcher>
#include <QSettings>
#include <QSocketNotifier>
#include <QTemporaryDir>
#include <atomic>
#include <csignal>
#include <cstdlib>
#include <ctime>
#include <fcntl.h>
#include <optional>
#include <poll.h>
#include <sys/inotify.h>
#include <sys/mman.h>
#include <sys/prctl.h>
#include <unistd.h>

/// The other processes of `SignalBenchmark`: the same program, whose arguments are a role, the file of a page of memory where it
/// reports, and the folder of bare signals.
namespace kestrum::SignalListener {

struct Page {
    std::atomic<int> ready;
    std::atomic<int> heard; ///< listeners since the last post
    std::atomic<qint64> heardAt;
    std::atomic<quint64> value;
};

inline constexpr char busPath[] = "/kestrum/benchmark";
inline constexpr char busInterface[] = "com.orvale.kestrum";

inline const QString& signalName()
{
    static const QString name = QStringLiteral("T4K9ZR2MXB.com.orvale.kestrum.settings");
    return name;
}

inline qint64 now()
{
    timespec time {};
    ::clock_gettime(CLOCK_MONOTONIC, &time);
    return qint64(time.tv_sec) * 1'000'000'000 + time.tv_nsec;
}

inline Page* mappedPage(const QByteArray& path)
{
    const int descriptor = ::open(path.constData(), O_RDWR | O_CREAT | O_CLOEXEC, 0600);
    if (descriptor < 0 || ::ftruncate(descriptor, sizeof(Page)) != 0)
        std::abort();
    void* page = ::mmap(nullptr, sizeof(Page), PROT_READ | PROT_WRITE, MAP_SHARED, descriptor, 0);
    ::close(descriptor);
    if (page == MAP_FAILED)
        std::abort();
    return static_cast<Page*>(page);
}

inline void hear(Page* page)
{
    page->heardAt.store(now());
    ++page->heard;
}

inline int bareWatch(const QByteArray& directory)
{
    const int descriptor = ::inotify_init1(IN_NONBLOCK | IN_CLOEXEC);
    ::inotify_add_watch(descriptor, directory.constData(), IN_ATTRIB | IN_CREATE);
    return descriptor;
}

inline void hearEvents(Page* page, int watch)
{
    alignas(inotify_event) char buffer[4096];
    if (::read(watch, buffer, sizeof buffer) > 0)
        hear(page);
}

// The simplest possible listener.
inline int listenBare(Page* page, const QByteArray& directory)
{
    const int watch = bareWatch(directory);
    ++page->ready;
    for (;;) {
        pollfd waiting { watch, POLLIN, 0 };
        ::poll(&waiting, 1, -1);
        hearEvents(page, watch);
    }
}

// The simplest possible listener of a program of the toolkit.
inline int listenInEventLoop(Page* page, const QByteArray& directory)
{
    QSocketNotifier notifier(bareWatch(directory), QSocketNotifier::Read);
    QObject::connect(&notifier, &QSocketNotifier::activated, [page](int watch) { hearEvents(page, watch); });
    ++page->ready;
    return QCoreApplication::exec();
}

inline int listenByCentre(Page* page)
{
    NotificationCentre::registerDispatch(signalName(), [page] { hear(page); });
    ++page->ready;
    return QCoreApplication::exec();
}

inline int readOnSignal(Page* page)
{
    const auto defaults = UserDefaults::withSuiteName(QStringLiteral("benchmark"));
    NotificationCentre::registerDispatch(signalName(), [page, &defaults] {
        page->value.store(quint64(defaults->number("round").value_or(0)));
        hear(page);
    });
    ++page->ready;
    return QCoreApplication::exec();
}

inline int listenByBus(Page* page)
{
    GDBusConnection* bus = g_bus_get_sync(G_BUS_TYPE_SESSION, nullptr, nullptr);
    if (!bus)
        return EXIT_FAILURE;
    const auto handler = [](GDBusConnection*, const char*, const char*, const char*, const char*, GVariant*,
                             gpointer data) { hear(static_cast<Page*>(data)); };
    g_dbus_connection_signal_subscribe(bus, nullptr, busInterface, "settings", busPath, nullptr,
        G_DBUS_SIGNAL_FLAGS_NONE, handler, page, nullptr);
    // The bus has the subscription when it has answered a later call.
    g_variant_unref(g_dbus_connection_call_sync(bus, "org.freedesktop.DBus", "/", "org.freedesktop.DBus.Peer",
        "Ping", nullptr, nullptr, G_DBUS_CALL_FLAGS_NONE, -1, nullptr, nullptr));
    ++page->ready;
    g_main_loop_run(g_main_loop_new(nullptr, FALSE));
    return EXIT_SUCCESS;
}

inline int readByDconf(Page* page)
{
    const QTemporaryDir folder;
    const auto settings = GSettingsPeer::open(folder.path(), GSettingsPeer::Place::dconf);
    if (!settings)
        return EXIT_FAILURE;
    const auto handler = +[](GSettings* changed, const char* key, gpointer data) {
        auto* const seen = static_cast<Page*>(data);
        seen->value.store(quint64(g_settings_get_double(changed, key)));
        hear(seen);
    };
    g_signal_connect(settings.get(), "changed::round", G_CALLBACK(handler), page);
    g_settings_get_double(settings.get(), "round"); // changes of what nobody has read are not told
    ++page->ready;
    g_main_loop_run(g_main_loop_new(nullptr, FALSE));
    return EXIT_SUCCESS;
}

inline QString peerFile()
{
    return QFile::decodeName(qgetenv("XDG_CONFIG_HOME")) + QStringLiteral("/peer.ini");
}

// The file is replaced at every save, so its folder is watched.
inline int readByQt(Page* page)
{
    QSettings settings(peerFile(), QSettings::IniFormat);
    QFileSystemWatcher watcher({ QFile::decodeName(qgetenv("XDG_CONFIG_HOME")) });
    QObject::connect(&watcher, &QFileSystemWatcher::directoryChanged, &settings, [page, &settings] {
        settings.sync();
        const auto round = settings.value(QStringLiteral("round")).toULongLong();
        if (page->value.exchange(round) != round)
            hear(page);
    });
    ++page->ready;
    return QCoreApplication::exec();
}

/// Plays the role that the arguments name, and gives the exit code; nothing in the process that measures.
inline std::optional<int> enter(int argc, char** argv)
{
    if (argc != 4 || argv[3][0] != '/')
        return {};
    ::prctl(PR_SET_PDEATHSIG, SIGKILL);
    const QByteArray role = argv[1];
    Page* page = mappedPage(argv[2]);
    if (role == "bare")
        return listenBare(page, argv[3]);
    if (role == "bus")
        return listenByBus(page);
    if (role == "dconf")
        return readByDconf(page);
    const QCoreApplication application(argc, argv);
    if (role == "loop")
        return listenInEventLoop(page, argv[3]);
    if (role == "qt")
        return readByQt(page);
    return role == "centre" ? listenByCentre(page) : readOnSignal(page);
}

} // namespace kestrum::SignalListener
