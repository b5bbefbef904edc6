// SPDX-License-Identifier: MIT
#include "kestrumctl/PanelAgent.h"

#include "KestrumShared/Agent/PanelContract.h"
#include "Platform/Desktop/DesktopBus.h"

#include <QDBusMessage>
#include <QDBusPendingReply>
#include <QDBusVariant>
#include <utility>

namespace kestrum {

namespace {

constexpr QLatin1StringView agentConnection("kestrumctl-panel-agent");
constexpr int agentTimeLimit = 5000; // ms

} // namespace

void PanelAgent::askWhatShowsItems(QObject* context, std::function<void(const QString&)> answered)
{
    const QString address = DesktopBus::address();
    const auto ask = [context, answered = std::move(answered)](bool isJoined) {
        if (!isJoined) {
            answered({});
            return;
        }
        QDBusMessage call = QDBusMessage::createMethodCall(PanelContract::service, PanelContract::path,
            QStringLiteral("org.freedesktop.DBus.Properties"), QStringLiteral("Get"));
        call << QString(PanelContract::interface) << QStringLiteral("ShownBy");
        DesktopBus::call(
            agentConnection, call, context,
            [answered](const QDBusPendingReply<QDBusVariant>& reply) {
                answered(reply.isError() ? QString() : reply.value().variant().toString());
            },
            agentTimeLimit);
    };
    if (address.isEmpty())
        ask(false);
    else
        DesktopBus::join(address, agentConnection, context, ask);
}

} // namespace kestrum
