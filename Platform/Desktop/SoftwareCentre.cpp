// SPDX-License-Identifier: MIT
#include "Platform/Desktop/SoftwareCentre.h"

#include "Platform/Desktop/DesktopBus.h"
#include "Platform/Desktop/WindowActivation.h"
#include "Platform/Log/Log.h"
#include "Platform/Processes/ProgramStart.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingReply>
#include <QFile>
#include <QStandardPaths>
#include <QStringList>
#include <QVariantMap>

namespace kestrum {

namespace {

constexpr int busTimeLimit = 2000; // ms, for an answer of the bus itself
constexpr qsizetype longestList = 4 * 1024 * 1024;

constexpr QLatin1StringView busConnection("kestrum-software");
constexpr QLatin1StringView packageKit("org.freedesktop.PackageKit");

/// Whether an installed program opens "appstream:" addresses, according to the desktop's "mimeinfo.cache" files.
bool isAddressOpened()
{
    const QStringList lists
        = QStandardPaths::locateAll(QStandardPaths::ApplicationsLocation, QStringLiteral("mimeinfo.cache"));
    for (const QString& list : lists) {
        QFile file(list);
        if (!file.open(QIODevice::ReadOnly))
            continue;
        const QByteArrayList lines = file.read(longestList).split('\n');
        for (const QByteArray& line : lines) {
            if (!line.startsWith("x-scheme-handler/appstream="))
                continue;
            const QByteArrayList programs = line.mid(line.indexOf('=') + 1).trimmed().split(';');
            for (const QByteArray& program : programs) {
                // A list may be out of date and name a program that is not installed.
                if (!program.isEmpty()
                    && !QStandardPaths::locate(
                        QStandardPaths::ApplicationsLocation, QFile::decodeName(program))
                            .isEmpty())
                    return true;
            }
        }
    }
    return false;
}

/// Whether software centres know `component`. They need its description, a file that the component's package installs.
bool isDescribed(const QString& component)
{
    return !QStandardPaths::locate(
        QStandardPaths::GenericDataLocation, QStringLiteral("metainfo/%1.metainfo.xml").arg(component))
                .isEmpty();
}

QString opener()
{
    return ProgramStart::find(QStringLiteral("xdg-open"));
}

} // namespace

SoftwareCentre::SoftwareCentre(const QString& component, const QString& package, QObject* parent)
    : QObject(parent)
    , m_component(component)
    , m_package(package)
{
}

SoftwareCentre::~SoftwareCentre()
{
    DesktopBus::leave(busConnection, *this);
}

void SoftwareCentre::look(const std::function<void()>& looked)
{
    if (isDescribed(m_component) && isAddressOpened() && !opener().isEmpty()) {
        settle(Way::address, looked);
        return;
    }
    const QString address = DesktopBus::address();
    if (address.isEmpty()) {
        settle(Way::none, looked);
        return;
    }
    if (QDBusConnection(busConnection).isConnected()) {
        askBus(looked);
        return;
    }
    QDBusConnection::disconnectFromBus(busConnection);
    DesktopBus::join(address, busConnection, this, [this, looked](bool isJoined) {
        if (isJoined)
            askBus(looked);
        else
            settle(Way::none, looked);
    });
}

void SoftwareCentre::settle(Way way, const std::function<void()>& looked)
{
    m_way = way;
    looked();
}

/// Asks the bus whether the PackageKit service is running, or else whether a call would start the service.
void SoftwareCentre::askBus(const std::function<void()>& looked)
{
    const auto ask = [this](const char* method, std::function<void(bool)> answered) {
        const QDBusMessage call = QDBusMessage::createMethodCall(QStringLiteral("org.freedesktop.DBus"),
            QStringLiteral("/org/freedesktop/DBus"), QStringLiteral("org.freedesktop.DBus"),
            QString::fromLatin1(method));
        const auto replied = [answered = std::move(answered)](const QDBusPendingReply<QStringList>& reply) {
            answered(!reply.isError() && reply.value().contains(packageKit));
        };
        DesktopBus::call(busConnection, call, this, replied, busTimeLimit);
    };
    ask("ListNames", [this, ask, looked](bool isRunning) {
        if (isRunning) {
            settle(Way::packageKit, looked);
            return;
        }
        ask("ListActivatableNames",
            [this, looked](bool isThere) { settle(isThere ? Way::packageKit : Way::none, looked); });
    });
}

void SoftwareCentre::open(const QByteArray& activationToken)
{
    switch (m_way) {
    case Way::address:
        openAddress(activationToken);
        break;
    case Way::packageKit:
        askPackageKit();
        break;
    case Way::none:
        fail(QStringLiteral("there is none"));
        break;
    }
}

void SoftwareCentre::openAddress(const QByteArray& activationToken)
{
    const auto pid = ProgramStart::start(QFile::encodeName(opener()),
        { "appstream://" + m_component.toUtf8() }, WindowActivation::environment(activationToken));
    if (pid)
        m_ends.follow(*pid, ProcessEnds::Kind::child);
    else
        fail(pid.failure().reason);
}

void SoftwareCentre::askPackageKit()
{
    QDBusMessage call
        = QDBusMessage::createMethodCall(packageKit, QStringLiteral("/org/freedesktop/PackageKit"),
            packageKit + QStringLiteral(".Modify2"), QStringLiteral("InstallPackageNames"));
    // The empty second argument asks for all the dialogs that the service usually shows.
    call << QStringList(m_package) << QString() << m_component << QVariantMap();
    DesktopBus::call(busConnection, call, this, [this](const QDBusPendingReply<>& reply) {
        // The service answers only when the user is done, and shows its own errors to the user. So only a bus error means
        // that there is no service. The bus error NoReply is an exception: it only means that there is no answer yet.
        const bool isOfBus
            = reply.error().name().startsWith(QLatin1StringView("org.freedesktop.DBus.Error."));
        if (reply.isError() && isOfBus && reply.error().type() != QDBusError::NoReply)
            fail(reply.error().message());
    });
}

void SoftwareCentre::fail(const QString& reason)
{
    Log::warning(
        "updates", QStringLiteral("the software centre does not open: %1").arg(Log::escaped(reason)));
    Q_EMIT failed();
}

} // namespace kestrum
