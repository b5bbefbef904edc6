// SPDX-License-Identifier: MIT
#include "ActivationToken.h"

#include <KUserTimestamp>
#include <KWindowSystem>
#include <QCoreApplication>
#include <QQuickItem>
#include <QQuickWindow>
#include <QTimer>
#include <utility>

#if QT_VERSION_MAJOR >= 6
#include <KWaylandExtras>
using Tokens = KWaylandExtras;
#else
using Tokens = KWindowSystem;
#endif

namespace kestrum {

namespace {

const QString applicationId = QStringLiteral("com.orvale.kestrum");
constexpr int tokenLimit = 500; // in ms: longer than that, the user would wonder where the window is

} // namespace

void ActivationToken::request(QQuickItem* item, const QJSValue& given)
{
    m_given = given;
    const int request = ++m_request;
    QWindow* window = item ? item->window() : nullptr;
    if (KWindowSystem::isPlatformX11()) {
        // Only the time in it matters, because no start-up notification is sent.
        const auto time = KUserTimestamp::userTimestamp();
        give(time == 0
                ? QString()
                : QStringLiteral("kestrum-%1_TIME%2").arg(QCoreApplication::applicationPid()).arg(time));
        return;
    }
    if (!window || !KWindowSystem::isPlatformWayland()) {
        give({});
        return;
    }
    const quint32 serial = Tokens::lastInputSerial(window);
    disconnect(Tokens::self(), nullptr, this, nullptr);
    connect(Tokens::self(), &Tokens::xdgActivationTokenArrived, this,
        [this, serial](int answered, const QString& token) {
            if (quint32(answered) == serial)
                give(token);
        });
    QTimer::singleShot(tokenLimit, this, [this, request] {
        if (request == m_request)
            give({});
    });
    Tokens::requestXdgActivationToken(window, serial, applicationId);
}

/// Gives one answer to each request, the first one.
void ActivationToken::give(const QString& token)
{
    QJSValue given = std::exchange(m_given, QJSValue());
    if (given.isCallable())
        given.call({ QJSValue(token) });
}

} // namespace kestrum
