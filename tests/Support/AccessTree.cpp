// The accessibility protocol uses a bus of its own, whose address a service on the session bus gives. A registry on that bus
// lists the programs. Each program answers for its own elements.

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
// Relations
constexpr quint32 isLabelOf = 1;
constexpr quint32 isLabelledBy = 2;
constexpr quint32 ofTheScreen = 0;

QString word(const char* utf8)
{
    return QString::fromUtf8(utf8);
}

const QString connectionName = QStringLiteral("access");
const QString accessible = QStringLiteral("org.a11y.atspi.Accessible");
const QString valueInterface = QStringLiteral("org.a11y.atspi.Value");

QVariantList called(const QDBusConnection& bus, const QString& service, const QString& path,
    const QString& interface, const char* method, const QVariantList& arguments = {})
{
    QDBusMessage call = QDBusMessage::createMethodCall(service, path, interface, word(method));
    call.setArguments(arguments);
    const QDBusMessage reply = bus.call(call, QDBus::Block, timeLimit);
    return reply.type() == QDBusMessage::ReplyMessage ? reply.arguments() : QVariantList();
}

QDBusConnection accessBus()
{
    return QDBusConnection(connectionName);
}

QVariant property(const QString& service, const QString& path, const QString& interface, const char* name)
{
    return called(
        accessBus(), service, path, word("org.freedesktop.DBus.Properties"), "Get", { interface, word(name) })
        .value(0)
        .value<QDBusVariant>()
        .variant();
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

QString Accessible::role() const
{
    return called(accessBus(), m_service, m_path, accessible, "GetRoleName").value(0).toString();
}

QString Accessible::name() const
{
    return property(m_service, m_path, accessible, "Name").toString();
}

QString Accessible::description() const
{
    return property(m_service, m_path, accessible, "Description").toString();
}

quint64 Accessible::states() const
{
    const QVariantList reply = called(accessBus(), m_service, m_path, accessible, "GetState");
    QList<quint32> words;
    if (!reply.isEmpty())
        reply.first().value<QDBusArgument>() >> words;
    return quint64(words.value(1)) << 32 | words.value(0);
}

std::optional<double> Accessible::value() const
{
    const QVariant value = property(m_service, m_path, valueInterface, "CurrentValue");
    return value.isValid() ? std::optional(value.toDouble()) : std::nullopt;
}

bool Accessible::setValue(double value) const
{
    QDBusMessage call = QDBusMessage::createMethodCall(
        m_service, m_path, word("org.freedesktop.DBus.Properties"), word("Set"));
    call.setArguments(
        { valueInterface, word("CurrentValue"), QVariant::fromValue(QDBusVariant(QVariant(value))) });
    return accessBus().call(call, QDBus::Block, timeLimit).type() == QDBusMessage::ReplyMessage;
}

QString Accessible::text() const
{
    return called(accessBus(), m_service, m_path, word("org.a11y.atspi.Text"), "GetText", { 0, -1 })
        .value(0)
        .toString();
}

QRect Accessible::place() const
{
    const QVariantList reply = called(
        accessBus(), m_service, m_path, word("org.a11y.atspi.Component"), "GetExtents", { ofTheScreen });
    if (reply.isEmpty())
        return {};
    const auto argument = reply.first().value<QDBusArgument>();
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
    const QVariantList reply = called(accessBus(), m_service, m_path, accessible, "GetChildren");
    return reply.isEmpty() ? QList<Accessible>() : accessibles(reply.first().value<QDBusArgument>());
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
    const QVariantList reply = called(accessBus(), m_service, m_path, accessible, "GetRelationSet");
    if (reply.isEmpty())
        return {};
    Accessible found;
    const auto argument = reply.first().value<QDBusArgument>();
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
    const QVariantList reply
        = called(accessBus(), m_service, m_path, word("org.a11y.atspi.Action"), "GetActions");
    if (reply.isEmpty())
        return {};
    QStringList names;
    const auto argument = reply.first().value<QDBusArgument>();
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
    return index >= 0
        && called(accessBus(), m_service, m_path, word("org.a11y.atspi.Action"), "DoAction", { int(index) })
               .value(0)
               .toBool();
}

bool Accessible::focus() const
{
    return called(accessBus(), m_service, m_path, word("org.a11y.atspi.Component"), "GrabFocus")
        .value(0)
        .toBool();
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
    const QString session = QStringLiteral("access-session");
    const QString address = called(QDBusConnection::connectToBus(m_session.address(), session),
        word("org.a11y.Bus"), word("/org/a11y/bus"), word("org.a11y.Bus"), "GetAddress")
                                .value(0)
                                .toString();
    QDBusConnection::disconnectFromBus(session);
    m_isUp = !address.isEmpty() && QDBusConnection::connectToBus(address, connectionName).isConnected();
    if (!m_isUp)
        qWarning("the accessibility bus does not start");
}

AccessTree::~AccessTree()
{
    QDBusConnection::disconnectFromBus(connectionName);
    qunsetenv("QT_LINUX_ACCESSIBILITY_ALWAYS_ON");
}

Accessible AccessTree::application(qint64 pid) const
{
    const Accessible desktop(word("org.a11y.atspi.Registry"), word("/org/a11y/atspi/accessible/root"));
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
