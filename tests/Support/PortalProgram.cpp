// The desktop portal of tests, in a process of its own: a test that plays the portal itself registers D-Bus types with Qt,
// which would hide that the program under test has not registered them. It joins the session bus and prints "ready". Each
// line of input changes a setting, and is answered by "told":
//
//   scheme N             the colour scheme: 0 none, 1 dark, 2 light
//   accent RED GREEN BLUE    each 0 to 1
//
// `Read` answers like Debian's portal, with a variant in a variant. The program ends when its input ends.

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
const QString group = QStringLiteral("org.freedesktop.appearance");

class Portal : public QDBusVirtualObject {
public:
    QHash<QString, QVariant> settings { { QStringLiteral("color-scheme"), QVariant(2U) } };

    QString introspect(const QString&) const override { return {}; }
    bool handleMessage(const QDBusMessage& call, const QDBusConnection& bus) override
    {
        const QList<QVariant> words = call.arguments();
        if (call.interface() != interface || call.member() != QLatin1StringView("Read") || words.size() != 2)
            return false;
        if (words[0].toString() == group && settings.contains(words[1].toString())) {
            const QDBusVariant value(settings.value(words[1].toString()));
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

QVariant colour(const QByteArrayList& components)
{
    QDBusArgument argument;
    argument.beginStructure();
    for (const QByteArray& component : components)
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
        const bool isScheme = words.first() == "scheme";
        const QString key = isScheme ? QStringLiteral("color-scheme") : QStringLiteral("accent-color");
        const QVariant value = isScheme ? QVariant(words.value(1).toUInt()) : colour(words.mid(1));
        portal.settings.insert(key, value);
        QDBusMessage signal = QDBusMessage::createSignal(path, interface, QStringLiteral("SettingChanged"));
        signal << group << key << QVariant::fromValue(QDBusVariant(value));
        say(bus.send(signal) ? "told" : "not told");
    });
    return QCoreApplication::exec();
}
