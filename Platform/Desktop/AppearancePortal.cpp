// SPDX-License-Identifier: MIT
#include "Platform/Desktop/AppearancePortal.h"

#include "Platform/Desktop/DesktopBus.h"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingReply>
#include <QDBusVariant>
#include <tuple>

namespace kestrum {
namespace {

constexpr QLatin1StringView portalConnection("kestrum-appearance");
constexpr QLatin1StringView portal("org.freedesktop.portal.Desktop");
constexpr QLatin1StringView portalPath("/org/freedesktop/portal/desktop");
constexpr QLatin1StringView portalInterface("org.freedesktop.portal.Settings");
constexpr QLatin1StringView appearanceGroup("org.freedesktop.appearance");
constexpr QLatin1StringView schemeKey("color-scheme");
constexpr QLatin1StringView accentKey("accent-color");
constexpr QLatin1StringView motionKey("reduced-motion");
constexpr QLatin1StringView gnomeGroup("org.gnome.desktop.interface");
constexpr QLatin1StringView animationsKey("enable-animations");

// Removes all nested variants. The portal's method `Read` returns a variant inside a variant, but the portal's signal and
// newer methods use a single variant.
QVariant unwrapped(QVariant value)
{
    while (value.metaType() == QMetaType::fromType<QDBusVariant>())
        value = value.value<QDBusVariant>().variant();
    return value;
}

std::optional<ColourScheme> schemeOf(const QVariant& value)
{
    if (value.metaType() == QMetaType::fromType<uint>()) {
        if (value.toUInt() == 1)
            return ColourScheme::dark;
        if (value.toUInt() == 2)
            return ColourScheme::light;
    }
    return std::nullopt;
}

std::optional<bool> reductionOf(const QVariant& value)
{
    if (value.metaType() != QMetaType::fromType<uint>() || value.toUInt() > 1)
        return std::nullopt;
    return value.toUInt() == 1;
}

std::optional<bool> truthOf(const QVariant& value)
{
    return value.metaType() == QMetaType::fromType<bool>() ? std::optional(value.toBool()) : std::nullopt;
}

// `value` holds three sRGB components. Components outside 0…1 mean that the desktop has no accent colour.
std::optional<QColor> accentOf(const QVariant& value)
{
    if (value.metaType() != QMetaType::fromType<QDBusArgument>())
        return std::nullopt;
    const auto argument = value.value<QDBusArgument>();
    if (argument.currentSignature() != QLatin1StringView("(ddd)"))
        return std::nullopt;
    double components[3] = {};
    argument.beginStructure();
    for (double& component : components)
        argument >> component;
    argument.endStructure();
    for (const double component : components) {
        if (!(component >= 0 && component <= 1))
            return std::nullopt;
    }
    return QColor::fromRgbF(float(components[0]), float(components[1]), float(components[2]));
}

} // namespace

AppearancePortal::AppearancePortal(QObject* parent)
    : QObject(parent)
{
    connect(&m_return, &BusReturn::expected, this, &AppearancePortal::join);
}

void AppearancePortal::start(const QString& address)
{
    m_address = address;
    if (!m_address.isEmpty())
        join();
}

void AppearancePortal::join()
{
    DesktopBus::join(m_address, portalConnection, this, [this](bool isJoined) {
        if (isJoined)
            follow();
        else if (m_wasJoined)
            busLost();
    });
}

void AppearancePortal::busLost()
{
    QDBusConnection::disconnectFromBus(portalConnection);
    m_return.wait();
}

void AppearancePortal::follow()
{
    m_wasJoined = true;
    m_return.stop();
    DesktopBus::followLoss(portalConnection, this, SLOT(busLost()));
    // The service name is left empty: with a name, Qt would block until the bus reports the owner of the service. A
    // forged signal can change only colours and motion.
    DesktopBus::follow(portalConnection, { {}, portalPath, portalInterface },
        QStringLiteral("SettingChanged"), this, SLOT(settingChanged(QString, QString, QDBusVariant)));
    for (const QLatin1StringView key : { schemeKey, accentKey, motionKey })
        ask(appearanceGroup, key);
    ask(gnomeGroup, animationsKey);
}

void AppearancePortal::ask(QLatin1StringView group, QLatin1StringView key)
{
    QDBusMessage read
        = QDBusMessage::createMethodCall(portal, portalPath, portalInterface, QStringLiteral("Read"));
    read << group << key;
    DesktopBus::call(portalConnection, read, this, [this, key](const QDBusPendingReply<QDBusVariant>& reply) {
        // An error means that there is no portal, or that the portal does not know the key.
        if (!reply.isError())
            adopt(key, reply.value().variant());
    });
}

void AppearancePortal::settingChanged(const QString& group, const QString& key, const QDBusVariant& value)
{
    if (group == appearanceGroup || (group == gnomeGroup && key == animationsKey))
        adopt(key, value.variant());
}

void AppearancePortal::adopt(const QString& key, const QVariant& value)
{
    const auto before = std::tuple(m_scheme, m_accent, reducesMotion());
    if (key == schemeKey)
        m_scheme = schemeOf(unwrapped(value));
    else if (key == accentKey)
        m_accent = accentOf(unwrapped(value));
    else if (key == motionKey)
        m_reducesMotion = reductionOf(unwrapped(value));
    else if (key == animationsKey)
        m_animates = truthOf(unwrapped(value));
    if (before != std::tuple(m_scheme, m_accent, reducesMotion()))
        Q_EMIT changed();
}

} // namespace kestrum
