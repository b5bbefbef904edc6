// SPDX-License-Identifier: MIT
#include "Platform/Desktop/GnomePanelAddition.h"

#include "Platform/Desktop/DesktopBus.h"

#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingReply>
#include <QTimer>
#include <utility>

namespace kestrum {

namespace {

constexpr int shellTimeLimit = 5000; // ms
/// How often and how long the shell is asked whether an extension runs that was switched on.
constexpr int mostLooks = 20;
constexpr int timeBetweenLooks = 100; // ms

constexpr QLatin1StringView shellConnection("kestrum-gnome-shell");
constexpr QLatin1StringView extensionName("kestrum@orvale.com");
constexpr QLatin1StringView shellSchema("org.gnome.shell");
constexpr QLatin1StringView enabledKey("enabled-extensions");
constexpr QLatin1StringView disabledKey("disabled-extensions");

/// The shell's numbers for the state of an extension.
constexpr int stateActive = 1;
constexpr int stateError = 3;
constexpr int stateOutOfDate = 4;

QString extensionFile()
{
    return QStringLiteral("gnome-shell/extensions/%1/metadata.json").arg(extensionName);
}

QString extensionsAreOff()
{
    return QStringLiteral("extensions are switched off as a whole in this desktop's settings");
}

QDBusMessage shellCall(const char* method)
{
    QDBusMessage call = QDBusMessage::createMethodCall(QStringLiteral("org.gnome.Shell"),
        QStringLiteral("/org/gnome/Shell"), QStringLiteral("org.gnome.Shell.Extensions"),
        QString::fromLatin1(method));
    call << QString(extensionName);
    return call;
}

/// Completes `state` by what the shell says of the extension. An empty `told`: the shell does not know it yet.
void adoptShellState(const QVariantMap& told, PanelAddition::State& state)
{
    const int number = told.value(QStringLiteral("state")).toInt();
    if (number == stateError)
        state.obstacle
            = QStringLiteral("the shell cannot run it: ") + told.value(QStringLiteral("error")).toString();
    else if (number == stateOutOfDate)
        state.obstacle = QStringLiteral("it is not made for this version of the shell");
    else
        state.isPending = number != stateActive && state.obstacle.isEmpty();
}

} // namespace

GnomePanelAddition::~GnomePanelAddition()
{
    DesktopBus::leave(shellConnection, *this);
}

QString GnomePanelAddition::title() const
{
    return QStringLiteral("the extension ") + extensionName;
}

Result<GnomePanelAddition::Lists> GnomePanelAddition::lists(const DesktopSettings::Values& values)
{
    const auto enabled = DesktopSettings::list(values.value(enabledKey));
    // Older shells have no list of disabled ones.
    const auto disabled = DesktopSettings::list(values.value(disabledKey, "[]"));
    if (!enabled || !disabled)
        return Failure::withReason(QStringLiteral("the desktop's lists of extensions are not understood"));
    return Lists { *enabled, *disabled, values.value(QStringLiteral("disable-user-extensions")) == "true" };
}

void GnomePanelAddition::read(std::function<void(const Result<Lists>&)> answered)
{
    DesktopSettings::read(
        shellSchema, this, [answered = std::move(answered)](const Result<DesktopSettings::Values>& values) {
            answered(values ? lists(*values) : values.failure());
        });
}

void GnomePanelAddition::write(const Lists& before, const Lists& after, Effect effect, Changed changed)
{
    QList<std::pair<QString, QByteArray>> values;
    if (after.disabled != before.disabled)
        values.append({ disabledKey, DesktopSettings::text(after.disabled) });
    if (after.enabled != before.enabled)
        values.append({ enabledKey, DesktopSettings::text(after.enabled) });
    const bool isWanted = after.enabled.contains(extensionName);
    DesktopSettings::write(shellSchema, values, this,
        [this, isWanted, effect, changed = std::move(changed)](const Result<>& done) {
            if (!done) {
                changed(done.failure());
                return;
            }
            read([isWanted, effect, changed](const Result<Lists>& now) {
                if (!now)
                    changed(now.failure());
                else if (now->enabled.contains(extensionName) != isWanted)
                    changed(DesktopSettings::notKept());
                else
                    changed(effect);
            });
        });
}

void GnomePanelAddition::join(std::function<void(bool)> joined)
{
    const QString address = DesktopBus::address();
    if (address.isEmpty() || QDBusConnection(shellConnection).isConnected()) {
        joined(!address.isEmpty());
        return;
    }
    QDBusConnection::disconnectFromBus(shellConnection);
    DesktopBus::join(address, shellConnection, this, std::move(joined));
}

void GnomePanelAddition::look(Looked looked)
{
    if (!isInstalled(extensionFile())) {
        looked(State { Presence::uninstalled, false, {} });
        return;
    }
    read([this, looked = std::move(looked)](const Result<Lists>& lists) {
        if (!lists) {
            looked(lists.failure());
            return;
        }
        const bool isAdded
            = lists->enabled.contains(extensionName) && !lists->disabled.contains(extensionName);
        State state { isAdded ? Presence::added : Presence::missing, false,
            lists->areAllOff ? extensionsAreOff() : QString() };
        if (!isAdded) {
            looked(state);
            return;
        }
        join([this, state, looked](bool isJoined) {
            if (!isJoined) {
                State unknown = state;
                adoptShellState({}, unknown);
                looked(unknown);
                return;
            }
            DesktopBus::call(
                shellConnection, shellCall("GetExtensionInfo"), this,
                [state, looked](const QDBusPendingReply<QVariantMap>& reply) {
                    State known = state;
                    adoptShellState(reply.isError() ? QVariantMap() : reply.value(), known);
                    looked(known);
                },
                shellTimeLimit);
        });
    });
}

void GnomePanelAddition::add(Changed changed)
{
    if (!isInstalled(extensionFile())) {
        changed(uninstalled());
        return;
    }
    read([this, changed = std::move(changed)](const Result<Lists>& lists) {
        if (!lists) {
            changed(lists.failure());
            return;
        }
        // The switch is not ours: others of the user's extensions would come with it.
        if (lists->areAllOff) {
            changed(Failure::withReason(extensionsAreOff()));
            return;
        }
        join([this, before = *lists, changed](bool isJoined) {
            if (!isJoined) {
                addToList(before, changed);
                return;
            }
            DesktopBus::call(
                shellConnection, shellCall("EnableExtension"), this,
                [this, before, changed](const QDBusPendingReply<bool>& reply) {
                    if (!reply.isError() && reply.value())
                        awaitState(mostLooks, changed);
                    else
                        addToList(before, changed);
                },
                shellTimeLimit);
        });
    });
}

/// The shell's answer says only that it knows the extension. It tries to run it afterwards.
void GnomePanelAddition::awaitState(int looks, const Changed& changed)
{
    DesktopBus::call(
        shellConnection, shellCall("GetExtensionInfo"), this,
        [this, looks, changed](const QDBusPendingReply<QVariantMap>& reply) {
            State state;
            adoptShellState(reply.isError() ? QVariantMap() : reply.value(), state);
            if (!state.obstacle.isEmpty())
                changed(Failure::withReason(state.obstacle));
            else if (!state.isPending)
                changed(Effect::now);
            else if (looks > 1)
                QTimer::singleShot(
                    timeBetweenLooks, this, [this, looks, changed] { awaitState(looks - 1, changed); });
            else
                changed(Effect::atNextLogin);
        },
        shellTimeLimit);
}

/// For a shell that does not know the extension yet. It reads the lists at its next start.
void GnomePanelAddition::addToList(const Lists& before, Changed changed)
{
    Lists after = before;
    after.disabled.removeAll(extensionName);
    if (!after.enabled.contains(extensionName))
        after.enabled.append(extensionName);
    write(before, after, Effect::atNextLogin, std::move(changed));
}

void GnomePanelAddition::remove(Changed changed)
{
    read([this, changed = std::move(changed)](const Result<Lists>& lists) {
        if (!lists) {
            changed(lists.failure());
            return;
        }
        // The shell follows the list at once.
        Lists after = *lists;
        after.enabled.removeAll(extensionName);
        write(*lists, after, Effect::now, changed);
    });
}

} // namespace kestrum
