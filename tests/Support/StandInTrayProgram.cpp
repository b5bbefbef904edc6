// Plays a desktop's area for status icons on the session bus. For each icon it prints a line: "light" or "dark" for the icon's
// opaque pixels, "plate" for dark ones on light ones or the other way round, or "gone" when the icon's program leaves the bus. It ends by itself after a minute.

#include <QColor>
#include <QCoreApplication>
#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusServiceWatcher>
#include <QDBusVariant>
#include <QSocketNotifier>
#include <QTimer>
#include <algorithm>
#include <cstdio>
#include <unistd.h>

namespace {

void say(const char* line)
{
    std::puts(line);
    std::fflush(stdout);
}

/// Whether the opaque pixels of a list of pictures (width, height, ARGB bytes) are light, dark, or both, as on a plate; empty
/// when there are none.
const char* look(const QDBusArgument& pictures)
{
    int light = 0;
    int dark = 0;
    pictures.beginArray();
    while (!pictures.atEnd()) {
        int width = 0;
        int height = 0;
        QByteArray bytes;
        pictures.beginStructure();
        pictures >> width >> height >> bytes;
        pictures.endStructure();
        for (qsizetype at = 0; at + 3 < bytes.size(); at += 4) {
            if (uchar(bytes[at]) > 128)
                ++(uchar(bytes[at + 1]) > 128 ? light : dark);
        }
    }
    pictures.endArray();
    constexpr int share = 20; // edges have a few pixels of any lightness
    if (std::min(light, dark) * share > std::max(light, dark))
        return "plate";
    return light > dark ? "light" : dark > 0 ? "dark" : "";
}

} // namespace

class Watcher final : public QObject {
    Q_OBJECT
    Q_CLASSINFO("D-Bus Interface", "org.kde.StatusNotifierWatcher")
    Q_PROPERTY(bool IsStatusNotifierHostRegistered READ isShown)
    Q_PROPERTY(int ProtocolVersion READ version)

public:
    explicit Watcher(const QDBusConnection& bus)
        : m_bus(bus)
    {
        m_leaving.setConnection(bus);
        m_leaving.setWatchMode(QDBusServiceWatcher::WatchForUnregistration);
        connect(&m_leaving, &QDBusServiceWatcher::serviceUnregistered, this, [] { say("gone"); });
    }
    bool isShown() const { return m_isShown; }
    static int version() { return 0; }

    /// Presses the icon that came last, as a user does.
    void press() const
    {
        QDBusMessage press = QDBusMessage::createMethodCall(m_icon, QStringLiteral("/StatusNotifierItem"),
            QStringLiteral("org.kde.StatusNotifierItem"), QStringLiteral("Activate"));
        press << 0 << 0;
        m_bus.send(press);
    }

    /// Reports that a panel shows the icons.
    void show()
    {
        m_isShown = true;
        Q_EMIT StatusNotifierHostRegistered();
    }

public Q_SLOTS:
    void RegisterStatusNotifierHost(const QString&) { }
    void RegisterStatusNotifierItem(const QString& service)
    {
        m_icon = service;
        m_leaving.addWatchedService(service);
        QDBusMessage call = QDBusMessage::createMethodCall(service, QStringLiteral("/StatusNotifierItem"),
            QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get"));
        call << QStringLiteral("org.kde.StatusNotifierItem") << QStringLiteral("IconPixmap");
        auto* asked = new QDBusPendingCallWatcher(m_bus.asyncCall(call), this);
        connect(asked, &QDBusPendingCallWatcher::finished, this, [asked] {
            asked->deleteLater();
            const QDBusPendingReply<QDBusVariant> reply = *asked;
            say(reply.isError() ? qPrintable(reply.error().message())
                                : look(reply.value().variant().value<QDBusArgument>()));
        });
    }

Q_SIGNALS:
    void StatusNotifierHostRegistered();

private:
    QDBusConnection m_bus;
    QString m_icon;
    QDBusServiceWatcher m_leaving;
    bool m_isShown = false;
};

/// The optional argument is the time in ms from the program's start until the panel shows the icons. After it, "press" means that
/// the user presses the icon for each byte of the standard input.
int main(int argc, char** argv)
{
    static constexpr unsigned int longestLife = 60; // seconds
    ::alarm(longestLife);
    const QCoreApplication application(argc, argv);
    QDBusConnection bus = QDBusConnection::sessionBus();
    Watcher watcher(bus);
    QSocketNotifier presses(STDIN_FILENO, QSocketNotifier::Read);
    presses.setEnabled(argc > 2 && QByteArray(argv[2]) == "press");
    QObject::connect(&presses, &QSocketNotifier::activated, &watcher, [&] {
        char byte = 0;
        if (::read(STDIN_FILENO, &byte, 1) == 1)
            watcher.press();
        else
            presses.setEnabled(false);
    });
    if (argc < 2)
        watcher.show();
    else
        QTimer::singleShot(QByteArray(argv[1]).toInt(), &watcher, &Watcher::show);
    if (!bus.registerObject(
            QStringLiteral("/StatusNotifierWatcher"), &watcher, QDBusConnection::ExportAllContents)
        || !bus.registerService(QStringLiteral("org.kde.StatusNotifierWatcher")))
        return 1;
    return QCoreApplication::exec();
}

#include "StandInTrayProgram.moc"
