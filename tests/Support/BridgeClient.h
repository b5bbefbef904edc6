// SPDX-License-Identifier: MIT
#pragma once

#include "KestrumShared/Agent/PanelContract.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingCallWatcher>
#include <QDBusPendingReply>
#include <QEventLoop>
#include <QImage>
#include <QTest>
#include <QTimer>

namespace kestrum {

/// A bridge as a desktop's panel has it: a program of its own on the session bus that keeps what it is told. The agent may be in
/// this process: all waits handle events.
class BridgeClient : public QObject {
    Q_OBJECT
public:
    static constexpr int limit = 5000; ///< ms

    uint number = 0;
    QList<PanelItem> items; ///< as last told
    int itemMessages = 0;
    QImage popover;
    QString popoverItem, popoverText, popoverFocus;
    int bandRows = 0; ///< of the last message
    int popoverMessages = 0;
    qint64 bytes = 0; ///< of all pixels that have come
    int closes = 0;
    QStringList requested;
    QString choice; ///< that was requested last
    QString copied;

    explicit BridgeClient(const QString& address)
        : m_name(QStringLiteral("bridge-%1").arg(++s_count))
    {
        PanelContract::registerTypes();
        QDBusConnection bus = QDBusConnection::connectToBus(address, m_name);
        const auto hear = [&](const char* signal, const char* slot) {
            QVERIFY2(bus.connect(QString(), PanelContract::path, PanelContract::interface,
                         QLatin1StringView(signal), this, slot),
                signal);
        };
        hear("Items", SLOT(heardItems(QDBusMessage)));
        hear("Popover", SLOT(heardPopover(QDBusMessage)));
        hear("PopoverClosed", SLOT(heardClosed(QDBusMessage)));
        hear("PopoverRequested", SLOT(heardRequested(QDBusMessage)));
        hear("ChoiceRequested", SLOT(heardChoice(QDBusMessage)));
        hear("Copied", SLOT(heardCopied(QDBusMessage)));
    }
    ~BridgeClient() override { leave(); }

    /// Leaves the bus.
    void leave() { QDBusConnection::disconnectFromBus(m_name); }
    QString connectionName() const { return m_name; }
    QString busName() const { return QDBusConnection(m_name).baseService(); }

    /// Calls and waits for the answer, an error too.
    QDBusMessage call(const char* method, const QVariantList& arguments = {})
    {
        return send(PanelContract::interface, method, arguments);
    }
    /// Calls without waiting for the answer.
    void tell(const char* method, const QVariantList& arguments)
    {
        QDBusMessage message = QDBusMessage::createMethodCall(PanelContract::service, PanelContract::path,
            PanelContract::interface, QString::fromLatin1(method));
        message.setArguments(arguments);
        QDBusConnection(m_name).send(message);
    }
    QVariant property(const char* name)
    {
        const QDBusMessage answer = send(QStringLiteral("org.freedesktop.DBus.Properties"), "Get",
            { QString(PanelContract::interface), QString::fromLatin1(name) });
        return answer.arguments().value(0).value<QDBusVariant>().variant();
    }
    /// The object's description of itself.
    QString describe()
    {
        return send(QStringLiteral("org.freedesktop.DBus.Introspectable"), "Introspect", {})
            .arguments()
            .value(0)
            .toString();
    }
    /// The name of the error; empty without one.
    QString errorOf(const char* method, const QVariantList& arguments = {})
    {
        return call(method, arguments).errorName();
    }
    void attach(const QVariantMap& look = {}, const QString& host = QStringLiteral("test"))
    {
        number = call("Attach", { host, look }).arguments().value(0).toUInt();
    }
    /// Whether all that was sent to this client before has come.
    bool isUpToDate()
    {
        const bool isAnswered = property("Version").isValid();
        QCoreApplication::processEvents();
        return isAnswered;
    }

    const PanelItem* item(const char* id) const
    {
        for (const PanelItem& item : items) {
            if (item.id == QLatin1StringView(id))
                return &item;
        }
        return nullptr;
    }

private Q_SLOTS:
    void heardItems(const QDBusMessage& message)
    {
        if (!isMine(message))
            return;
        items = qdbus_cast<QList<PanelItem>>(message.arguments().value(1));
        ++itemMessages;
        for (const PanelItem& item : items)
            bytes += item.pixels.size();
    }
    void heardPopover(const QDBusMessage& message)
    {
        const QVariantList told = message.arguments();
        if (!isMine(message))
            return;
        popoverItem = told.value(1).toString();
        popoverText = told.value(2).toString();
        popoverFocus = told.value(3).toString();
        const QSize size(told.value(4).toInt(), told.value(5).toInt());
        if (popover.size() != size)
            popover = QImage(size, QImage::Format_RGBA8888_Premultiplied);
        bandRows = 0;
        for (const PanelBand& band : qdbus_cast<QList<PanelBand>>(told.value(6))) {
            QCOMPARE(band.pixels.size(), qsizetype(band.rows) * size.width() * 4);
            QVERIFY(band.top >= 0 && band.top + band.rows <= size.height());
            memcpy(popover.scanLine(band.top), band.pixels.constData(), size_t(band.pixels.size()));
            bandRows += band.rows;
            bytes += band.pixels.size();
        }
        ++popoverMessages;
    }
    void heardClosed(const QDBusMessage& message)
    {
        if (isMine(message))
            ++closes;
    }
    void heardRequested(const QDBusMessage& message)
    {
        if (isMine(message))
            requested.append(message.arguments().value(1).toString());
    }
    void heardChoice(const QDBusMessage& message)
    {
        if (isMine(message))
            choice = message.arguments().value(1).toString();
    }
    void heardCopied(const QDBusMessage& message)
    {
        if (isMine(message))
            copied = message.arguments().value(1).toString();
    }

private:
    /// Messages come to their client alone. The first items may be heard before the answer with the number is.
    bool isMine(const QDBusMessage& message) const
    {
        return number == 0 || message.arguments().value(0).toUInt() == number;
    }
    QDBusMessage send(const QString& interface, const char* method, const QVariantList& arguments)
    {
        QDBusMessage message = QDBusMessage::createMethodCall(
            PanelContract::service, PanelContract::path, interface, QString::fromLatin1(method));
        message.setArguments(arguments);
        const QDBusPendingCall pending = QDBusConnection(m_name).asyncCall(message, limit);
        QDBusPendingCallWatcher watcher(pending);
        // Told by an event, after the signals from before. The bus's thread would mark the answer sooner.
        QEventLoop loop;
        connect(&watcher, &QDBusPendingCallWatcher::finished, &loop, &QEventLoop::quit);
        QTimer::singleShot(2 * limit, &loop, &QEventLoop::quit); // the call itself has a limit
        loop.exec();
        return pending.reply();
    }

    static inline int s_count = 0;
    QString m_name;
};

} // namespace kestrum
