// The desktop portal of tests, in a process of its own. A test that played the portal itself would register D-Bus types with
// Qt, which would hide that the program under test has not registered them. The portal joins the session bus and prints
// "ready". Each line of input changes a setting, and the portal prints "told":
//
// scheme N             the colour scheme: 0 none, 1 dark, 2 light; any other word is sent as a text, which is invalid
//   accent RED GREEN BLUE    each 0 to 1
//   motion N             1 for less motion
//   animations 0|1       GNOME's own setting
//   silent               `Read` is no longer answered
//
// `Read` answers like Debian's portal, with a variant in a variant. At first, only the scheme is set, to 2. The program ends
// when its input ends.

#include <QCoreApplication>
#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusVariant>
#include <QDBusVirtualObject>
#include <QHash>
#include <QSocketNotifier>
#include <cstdio>
#include <unistd.h>

namespace {

const QString path = QStringLiteral("/org/freedesktop/portal/desktop");
const QString interface = QStringLiteral("org.freedesktop.portal.Settings");

struct Setting {
    QString group = QStringLiteral("org.freedesktop.appearance");
    QString key;
};

Setting settingOf(const QByteArray& word)
{
    if (word == "animations")
        return { QStringLiteral("org.gnome.desktop.interface"), QStringLiteral("enable-animations") };
    return { .key = word == "scheme" ? QStringLiteral("color-scheme")
            : word == "accent"       ? QStringLiteral("accent-color")
                                     : QStringLiteral("reduced-motion") };
}

class Portal : public QDBusVirtualObject {
public:
    QHash<QString, QVariant> settings { { QStringLiteral("org.freedesktop.appearance color-scheme"),
        QVariant(2U) } };
    bool isSilent = false;

    QString introspect(const QString&) const override { return {}; }
    bool handleMessage(const QDBusMessage& call, const QDBusConnection& bus) override
    {
        const QList<QVariant> words = call.arguments();
        if (call.interface() != interface || call.member() != QLatin1StringView("Read") || words.size() != 2)
            return false;
        if (isSilent)
            return true;
        const QString name = words[0].toString() + u' ' + words[1].toString();
        if (settings.contains(name)) {
            const QDBusVariant value(settings.value(name));
            bus.send(call.createReply(QVariant::fromValue(QDBusVariant(QVariant::fromValue(value)))));
        } else {
            bus.send(call.createErrorReply(QStringLiteral("org.freedesktop.portal.Error.NotFound"),
                QStringLiteral("Requested setting not found")));
        }
        return true;
    }
};

void say(const char* line)
{
    std::puts(line);
    std::fflush(stdout);
}

QVariant valueOf(const QByteArrayList& words)
{
    bool isNumber = false;
    const uint number = words.value(1).toUInt(&isNumber);
    if (words.size() < 4 && isNumber)
        return words.first() == "animations" ? QVariant(number == 1) : QVariant(number);
    if (words.size() < 4)
        return QString::fromLatin1(words.value(1));
    QDBusArgument argument;
    argument.beginStructure();
    for (const QByteArray& component : words.mid(1))
        argument << component.toDouble();
    argument.endStructure();
    return QVariant::fromValue(argument);
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    QDBusConnection bus = QDBusConnection::sessionBus();
    Portal portal;
    if (!bus.registerVirtualObject(path, &portal)
        || !bus.registerService(QStringLiteral("org.freedesktop.portal.Desktop")))
        return 1;
    say("ready");
    QSocketNotifier input(STDIN_FILENO, QSocketNotifier::Read);
    QObject::connect(&input, &QSocketNotifier::activated, &input, [&] {
        char buffer[256];
        const ssize_t length = ::read(STDIN_FILENO, buffer, sizeof buffer);
        if (length <= 0) {
            QCoreApplication::quit();
            return;
        }
        const QByteArrayList words = QByteArray(buffer, length).simplified().split(' ');
        if (words.first() == "silent") {
            portal.isSilent = true;
            say("told");
            return;
        }
        const auto [group, key] = settingOf(words.first());
        const QVariant value = valueOf(words);
        portal.settings.insert(group + u' ' + key, value);
        QDBusMessage signal = QDBusMessage::createSignal(path, interface, QStringLiteral("SettingChanged"));
        signal << group << key << QVariant::fromValue(QDBusVariant(value));
        say(bus.send(signal) ? "told" : "not told");
    });
    return QCoreApplication::exec();
}
