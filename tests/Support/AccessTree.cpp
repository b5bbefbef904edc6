// The accessibility protocol has a bus of its own. A service on the session bus returns the address of that bus. A registry on
// the accessibility bus lists the programs. Each program answers for its own elements.

#include "tests/Support/AccessTree.h"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusConnectionInterface>
#include <QDBusMessage>
#include <QDBusObjectPath>
#include <QDBusVariant>
#include <QDeadlineTimer>
#include <QThread>

namespace kestrum {

namespace {

using namespace std::chrono_literals;

constexpr int timeLimit = 3000; // ms, for one call
// The protocol's numbers of relations
constexpr quint32 isLabelOf = 1;
constexpr quint32 isLabelledBy = 2;
constexpr quint32 ofTheScreen = 0;
constexpr char properties[] = "org.freedesktop.DBus.Properties";

QString word(const char* utf8)
{
    return QString::fromUtf8(utf8);
}

const QString connectionName = QStringLiteral("access");
const QString sessionName = QStringLiteral("access-session");

QVariant called(const QDBusConnection& bus, const QString& service, const QString& path,
    const char* interface, const char* method, const QVariantList& arguments = {})
{
    QDBusMessage call = QDBusMessage::createMethodCall(service, path, word(interface), word(method));
    call.setArguments(arguments);
    const QDBusMessage reply = bus.call(call, QDBus::Block, timeLimit);
    return reply.type() == QDBusMessage::ReplyMessage ? reply.arguments().value(0) : QVariant();
}

QDBusConnection accessBus()
{
    return QDBusConnection(connectionName);
}

/// Joins the accessibility bus of that session bus, from which it takes leave.
bool join(const QDBusConnection& session)
{
    const QString address
        = called(session, word("org.a11y.Bus"), word("/org/a11y/bus"), "org.a11y.Bus", "GetAddress")
              .toString();
    QDBusConnection::disconnectFromBus(sessionName);
    return !address.isEmpty() && QDBusConnection::connectToBus(address, connectionName).isConnected();
}

Accessible registry()
{
    return { word("org.a11y.atspi.Registry"), word("/org/a11y/atspi/accessible/root") };
}

QList<Accessible> accessibles(const QDBusArgument& argument)
{
    QList<Accessible> list;
    argument.beginArray();
    while (!argument.atEnd()) {
        QString service;
        QDBusObjectPath path;
        argument.beginStructure();
        argument >> service >> path;
        argument.endStructure();
        list.append(Accessible(service, path.path()));
    }
    argument.endArray();
    return list;
}

} // namespace

Accessible::Accessible(QString service, QString path)
    : m_service(std::move(service))
    , m_path(std::move(path))
{
}

QVariant Accessible::call(const char* interface, const char* method, const QVariantList& arguments) const
{
    return called(accessBus(), m_service, m_path, (QByteArray("org.a11y.atspi.") + interface).constData(),
        method, arguments);
}

QVariant Accessible::property(const char* interface, const char* name) const
{
    const QString whose = word("org.a11y.atspi.") + word(interface);
    return called(accessBus(), m_service, m_path, properties, "Get", { whose, word(name) })
        .value<QDBusVariant>()
        .variant();
}

QString Accessible::role() const
{
    return call("Accessible", "GetRoleName").toString();
}

QString Accessible::name() const
{
    return property("Accessible", "Name").toString();
}

QString Accessible::description() const
{
    return property("Accessible", "Description").toString();
}

quint64 Accessible::states() const
{
    const QVariant reply = call("Accessible", "GetState");
    QList<quint32> words;
    if (reply.isValid())
        reply.value<QDBusArgument>() >> words;
    return quint64(words.value(1)) << 32 | words.value(0);
}

std::optional<double> Accessible::value() const
{
    const QVariant value = property("Value", "CurrentValue");
    return value.isValid() ? std::optional(value.toDouble()) : std::nullopt;
}

bool Accessible::setValue(double value) const
{
    QDBusMessage call = QDBusMessage::createMethodCall(m_service, m_path, word(properties), word("Set"));
    call << word("org.a11y.atspi.Value") << word("CurrentValue")
         << QVariant::fromValue(QDBusVariant(QVariant(value)));
    return accessBus().call(call, QDBus::Block, timeLimit).type() == QDBusMessage::ReplyMessage;
}

QString Accessible::text() const
{
    return call("Text", "GetText", { 0, -1 }).toString();
}

QRect Accessible::place() const
{
    const QVariant reply = call("Component", "GetExtents", { ofTheScreen });
    if (!reply.isValid())
        return {};
    const auto argument = reply.value<QDBusArgument>();
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
    argument.beginStructure();
    argument >> x >> y >> width >> height;
    argument.endStructure();
    return { x, y, width, height };
}

QList<Accessible> Accessible::children() const
{
    const QVariant reply = call("Accessible", "GetChildren");
    return reply.isValid() ? accessibles(reply.value<QDBusArgument>()) : QList<Accessible>();
}

Accessible Accessible::find(const QString& role, const std::optional<QString>& name) const
{
    const QList<Accessible> below = children();
    for (const Accessible& child : below) {
        if (child.role() == role && (!name || child.name() == *name))
            return child;
        if (const Accessible found = child.find(role, name); found.isFound())
            return found;
    }
    return {};
}

QList<Accessible> Accessible::findAll(const QString& role) const
{
    QList<Accessible> found;
    const QList<Accessible> below = children();
    for (const Accessible& child : below) {
        if (child.role() == role)
            found.append(child);
        found.append(child.findAll(role));
    }
    return found;
}

QString Accessible::label() const
{
    const Accessible label = related(isLabelledBy);
    return label.isFound() ? label.name() : name();
}

Accessible Accessible::labelled() const
{
    return related(isLabelOf);
}

Accessible Accessible::related(quint32 number) const
{
    const QVariant reply = call("Accessible", "GetRelationSet");
    if (!reply.isValid())
        return {};
    Accessible found;
    const auto argument = reply.value<QDBusArgument>();
    argument.beginArray();
    while (!argument.atEnd()) {
        quint32 relation = 0;
        argument.beginStructure();
        argument >> relation;
        const QList<Accessible> targets = accessibles(argument);
        argument.endStructure();
        if (relation == number && !found.isFound())
            found = targets.value(0);
    }
    argument.endArray();
    return found;
}

QStringList Accessible::actions() const
{
    const QVariant reply = call("Action", "GetActions");
    if (!reply.isValid())
        return {};
    QStringList names;
    const auto argument = reply.value<QDBusArgument>();
    argument.beginArray();
    while (!argument.atEnd()) {
        QString name;
        QString description;
        QString keys;
        argument.beginStructure();
        argument >> name >> description >> keys;
        argument.endStructure();
        names.append(name);
    }
    argument.endArray();
    return names;
}

bool Accessible::act(const QString& action) const
{
    const qsizetype index = actions().indexOf(action);
    return index >= 0 && call("Action", "DoAction", { int(index) }).toBool();
}

bool Accessible::focus() const
{
    return call("Component", "GrabFocus").toBool();
}

qint64 Accessible::process() const
{
    return accessBus().interface()->servicePid(m_service).value();
}

QString Accessible::outline(int depth) const
{
    QString lines = QString(2 * depth, u' ') + role() + QStringLiteral(" \"") + name() + u'"';
    lines += QStringLiteral(" %1 ").arg(states(), 0, 16);
    if (const QString details = description(); !details.isEmpty())
        lines += QStringLiteral(" (%1)").arg(details);
    if (const auto number = value())
        lines += QStringLiteral(" = %1").arg(*number);
    if (const QString list = actions().join(u' '); !list.isEmpty())
        lines += QStringLiteral(" [%1]").arg(list);
    lines += u'\n';
    const QList<Accessible> below = children();
    for (const Accessible& child : below)
        lines += child.outline(depth + 1);
    return lines;
}

AccessTree::AccessTree()
{
    // Otherwise programs join the accessibility bus only when the desktop reports that an assistive program runs.
    qputenv("QT_LINUX_ACCESSIBILITY_ALWAYS_ON", "1");
    if (!m_session.isUp())
        return;
    m_isUp = join(QDBusConnection::connectToBus(m_session.address(), sessionName));
    if (!m_isUp)
        qWarning("the accessibility bus does not start");
}

AccessTree::~AccessTree()
{
    QDBusConnection::disconnectFromBus(connectionName);
    qunsetenv("QT_LINUX_ACCESSIBILITY_ALWAYS_ON");
}

std::optional<Accessible> AccessTree::ofTheSession()
{
    const bool isUp = join(QDBusConnection::connectToBus(QDBusConnection::SessionBus, sessionName));
    return isUp ? std::optional(registry()) : std::nullopt;
}

Accessible AccessTree::application(qint64 pid) const
{
    const Accessible desktop = registry();
    for (const QDeadlineTimer deadline(10s); !deadline.hasExpired(); QThread::msleep(30)) {
        const QList<Accessible> programs = desktop.children();
        for (const Accessible& program : programs) {
            if (program.process() == pid)
                return program;
        }
    }
    return {};
}

} // namespace kestrum
