// SPDX-License-Identifier: MIT
#include "Platform/Desktop/AppearancePortal.h"

#include "Platform/Desktop/DesktopBus.h"

#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QDBusVariant>

namespace kestrum {
namespace {

const QString& portalConnection()
{
    static const QString name = QStringLiteral("kestrum-appearance");
    return name;
}

constexpr char16_t service[] = u"org.freedesktop.portal.Desktop";
constexpr char16_t portalPath[] = u"/org/freedesktop/portal/desktop";
constexpr char16_t interface[] = u"org.freedesktop.portal.Settings";
constexpr char16_t appearanceGroup[] = u"org.freedesktop.appearance";
constexpr char16_t schemeKey[] = u"color-scheme";
constexpr char16_t accentKey[] = u"accent-color";
constexpr char16_t motionKey[] = u"reduced-motion";
constexpr char16_t gnomeGroup[] = u"org.gnome.desktop.interface";
constexpr char16_t animationsKey[] = u"enable-animations";

QString text(const char16_t* characters)
{
    return QString::fromUtf16(characters);
}

// Removes every layer of variants. `Read` returns a variant within a variant; the portal's signal and newer calls give
// a single variant.
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

// The value is three sRGB components. If the desktop has no accent, they are outside of 0…1 and the result is nothing.
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
}

void AppearancePortal::start(const QString& address)
{
    if (address.isEmpty())
        return;
    DesktopBus::join(address, portalConnection(), this, [this](bool isJoined) {
        if (isJoined)
            follow();
    });
}

void AppearancePortal::follow()
{
    // The sender is left empty, because Qt would otherwise wait until the bus reports the owner of the service. A
    // forged signal can change only colours and motion.
    DesktopBus::follow(portalConnection(), { {}, text(portalPath), text(interface) },
        QStringLiteral("SettingChanged"), this, SLOT(settingChanged(QString, QString, QDBusVariant)));
    for (const char16_t* key : { schemeKey, accentKey, motionKey })
        ask(appearanceGroup, key);
    ask(gnomeGroup, animationsKey);
}

void AppearancePortal::ask(const char16_t* group, const char16_t* key)
{
    QDBusMessage call = QDBusMessage::createMethodCall(
        text(service), text(portalPath), text(interface), QStringLiteral("Read"));
    call << text(group) << text(key);
    auto* watcher = new QDBusPendingCallWatcher(QDBusConnection(portalConnection()).asyncCall(call), this);
    connect(watcher, &QDBusPendingCallWatcher::finished, this, [this, key = text(key), watcher] {
        watcher->deleteLater();
        const QDBusPendingReply<QDBusVariant> reply = *watcher;
        // An error is an answer too: there is no portal, or the portal does not know the key.
        if (!reply.isError())
            adopt(key, reply.value().variant());
    });
}

void AppearancePortal::settingChanged(const QString& group, const QString& key, const QDBusVariant& value)
{
    if (group == text(appearanceGroup) || (group == text(gnomeGroup) && key == text(animationsKey)))
        adopt(key, value.variant());
}

void AppearancePortal::adopt(const QString& key, const QVariant& value)
{
    const auto scheme = m_scheme;
    const auto accent = m_accent;
    const bool reducesMotion = this->reducesMotion();
    if (key == text(schemeKey))
        m_scheme = schemeOf(unwrapped(value));
    else if (key == text(accentKey))
        m_accent = accentOf(unwrapped(value));
    else if (key == text(motionKey))
        m_reducesMotion = reductionOf(unwrapped(value));
    else if (key == text(animationsKey))
        m_animates = truthOf(unwrapped(value));
    if (scheme != m_scheme || accent != m_accent || reducesMotion != this->reducesMotion())
        Q_EMIT changed();
}

} // namespace kestrum
