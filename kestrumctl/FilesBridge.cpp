// SPDX-License-Identifier: MIT
#include "kestrumctl/FilesBridge.h"

#include "KestrumShared/Agent/PanelContract.h"
#include "KestrumShared/Vocabulary/MonitorSection.h"
#include "Platform/Desktop/DesktopBus.h"

#include <QBuffer>
#include <QDBusArgument>
#include <QDBusConnection>
#include <QDBusMessage>
#include <QDBusPendingReply>
#include <QDir>
#include <QFile>
#include <QPainter>
#include <QRect>
#include <QTemporaryFile>
#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <limits>
#include <utility>

namespace kestrum {

namespace {

constexpr QLatin1StringView filesConnection("kestrumctl-files");
constexpr QLatin1StringView busName("org.freedesktop.DBus");
constexpr QLatin1StringView busObject("/org/freedesktop/DBus");
constexpr int callTimeLimit = 5000; // ms
/// A bridge whose number nobody knows would keep the agent from showing the items: the answer is awaited, however late.
constexpr int noLimit = std::numeric_limits<int>::max();
constexpr std::chrono::seconds attachAgain { 3 };
constexpr int detachTimeLimit = 1000; // ms; an agent that hangs learns from the bus that its bridge is gone
/// No item is larger, at any scale. Both are in pixels.
constexpr int greatestWidth = 8192;
constexpr int greatestHeight = 1024;

QDBusMessage agentCall(const QString& owner, const char* method)
{
    return QDBusMessage::createMethodCall(
        owner, PanelContract::path, PanelContract::interface, QString::fromLatin1(method));
}

QByteArray png(const QImage& image)
{
    QBuffer buffer;
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "PNG");
    return buffer.data();
}

} // namespace

FilesBridge::FilesBridge(const QString& directory, const QVariantMap& look, QObject* parent)
    : QObject(parent)
    , m_directory(directory)
    , m_look(look)
    , m_scale(look.value(QStringLiteral("scale"), 1.0).toDouble())
{
    m_attachTimer.setSingleShot(true);
    connect(&m_attachTimer, &QTimer::timeout, this, &FilesBridge::attach);
}

FilesBridge::~FilesBridge()
{
    if (m_number != 0) {
        QDBusMessage call = agentCall(m_owner, "Detach");
        call << m_number;
        // The answer is waited for, because what is still on its way would be lost with the connection.
        QDBusConnection(filesConnection).call(call, QDBus::Block, detachTimeLimit);
    }
    DesktopBus::leave(filesConnection, *this);
    keepOnly({});
}

void FilesBridge::start()
{
    const QString address = DesktopBus::address();
    if (address.isEmpty()) {
        Q_EMIT failed(QStringLiteral("there is no session bus"));
        return;
    }
    DesktopBus::join(address, filesConnection, this, [this](bool isJoined) {
        if (!isJoined) {
            Q_EMIT failed(QStringLiteral("the session bus does not answer"));
            return;
        }
        QDBusConnection bus(filesConnection);
        DesktopBus::followLoss(filesConnection, this, SLOT(busLost()));
        // The sender is left empty, because the toolkit would wait for the bus to tell the owner of a name.
        bus.connect(QString(), busObject, busName, QStringLiteral("NameOwnerChanged"),
            { PanelContract::service }, QString(), this, SLOT(ownerChanged(QDBusMessage)));
        QDBusMessage ask
            = QDBusMessage::createMethodCall(busName, busObject, busName, QStringLiteral("GetNameOwner"));
        ask << QString(PanelContract::service);
        DesktopBus::call(
            filesConnection, ask, this,
            [this](const QDBusPendingReply<QString>& reply) {
                if (!reply.isError() && m_owner.isEmpty())
                    follow(reply.value());
                Q_EMIT ready();
            },
            callTimeLimit);
    });
}

void FilesBridge::ownerChanged(const QDBusMessage& message)
{
    if (message.service() == busName && message.signature() == QLatin1StringView("sss"))
        follow(message.arguments().at(2).toString());
}

void FilesBridge::busLost()
{
    Q_EMIT failed(QStringLiteral("the session bus is gone"));
}

/// Attaches to another agent than before. An empty owner: the agent is gone.
void FilesBridge::follow(const QString& owner)
{
    if (owner == m_owner)
        return;
    QDBusConnection bus(filesConnection);
    const auto each = [&](auto&& act) {
        act("Items", SLOT(itemsCame(QDBusMessage)));
        act("PopoverRequested", SLOT(popoverRequested(uint, QString)));
    };
    if (!m_owner.isEmpty()) {
        each([&](const char* signal, const char* slot) {
            bus.disconnect(m_owner, PanelContract::path, PanelContract::interface,
                QString::fromLatin1(signal), this, slot);
        });
    }
    m_owner = owner;
    m_number = 0;
    m_attachTimer.stop();
    m_items.clear();
    keepOnly({});
    if (m_owner.isEmpty())
        return;
    // By the owner's own name, nobody else's signals are taken for the agent's.
    each([&](const char* signal, const char* slot) {
        bus.connect(
            m_owner, PanelContract::path, PanelContract::interface, QString::fromLatin1(signal), this, slot);
    });
    attach();
}

void FilesBridge::attach()
{
    QDBusMessage call = agentCall(m_owner, "Attach");
    call << QString(PanelContract::filesHost) << m_look;
    DesktopBus::call(
        filesConnection, call, this,
        [this, owner = m_owner](const QDBusPendingReply<uint>& reply) {
            if (owner != m_owner)
                return;
            if (!reply.isError()) {
                m_number = reply.value();
                return;
            }
            Q_EMIT refused(QStringLiteral("the agent refuses: ") + reply.error().message().simplified());
            m_attachTimer.start(attachAgain);
        },
        noLimit);
}

void FilesBridge::itemsCame(const QDBusMessage& message)
{
    if (message.signature() != QLatin1StringView("ua(sddsiiay)"))
        return;
    const uint bridge = message.arguments().at(0).toUInt();
    if (m_number != 0 && bridge != m_number)
        return;
    const auto list = message.arguments().at(1).value<QDBusArgument>();
    QHash<QString, Item> items;
    list.beginArray();
    while (!list.atEnd()) {
        QString id;
        Item item;
        int width = 0;
        int height = 0;
        QByteArray pixels;
        list.beginStructure();
        list >> id >> item.x >> item.width >> item.text >> width >> height >> pixels;
        list.endStructure();
        // The id becomes a file's name.
        if (!fromRawValue<MonitorSection>(id))
            continue;
        const bool isSane = width > 0 && height > 0 && width <= greatestWidth && height <= greatestHeight;
        if (pixels.isEmpty()) {
            const Item before = m_items.value(id);
            item.picture = before.picture;
            item.file = before.file;
        } else if (isSane && pixels.size() == qsizetype(width) * height * 4) {
            item.picture = QImage(reinterpret_cast<const uchar*>(pixels.constData()), width, height,
                width * 4, QImage::Format_RGBA8888_Premultiplied)
                               .copy();
            item.file = png(item.picture);
        }
        if (!item.picture.isNull() && std::isfinite(item.x) && std::isfinite(item.width))
            items.insert(id, item);
    }
    list.endArray();
    m_items = items;
    write(items);
}

void FilesBridge::popoverRequested(uint bridge, const QString& item)
{
    if (bridge != m_number)
        return;
    // No bar tells where its pictures are: without a place, the popover opens at the pointer.
    QDBusMessage call = agentCall(m_owner, "ShowPopover");
    call << bridge << item << QVariant::fromValue(QRect(0, 0, 0, 0)) << QString();
    DesktopBus::call(
        filesConnection, call, this, [](const QDBusPendingReply<>&) {}, callTimeLimit);
}

QImage FilesBridge::strip(const QHash<QString, Item>& items) const
{
    QSize size;
    const auto left = [this](const Item& item) {
        return std::clamp(int(std::lround(item.x * m_scale)), 0, greatestWidth);
    };
    for (const Item& item : items)
        size = size.expandedTo(QSize(left(item) + item.picture.width(), item.picture.height()));
    QImage strip(size, QImage::Format_ARGB32_Premultiplied);
    strip.fill(Qt::transparent);
    QPainter painter(&strip);
    for (const Item& item : items)
        painter.drawImage(left(item), 0, item.picture);
    return strip;
}

void FilesBridge::write(const QHash<QString, Item>& items)
{
    QHash<QString, QByteArray> files;
    for (auto item = items.begin(); item != items.end(); ++item) {
        files.insert(item.key() + QStringLiteral(".png"), item->file);
        files.insert(item.key() + QStringLiteral(".txt"), item->text.toUtf8() + '\n');
    }
    if (!items.isEmpty())
        files.insert(QStringLiteral("strip.png"), png(strip(items)));
    keepOnly({ files.keyBegin(), files.keyEnd() });
    for (auto file = files.begin(); file != files.end(); ++file) {
        if (m_written.value(file.key()) != *file && !writeFile(file.key(), *file))
            return;
    }
}

/// Replaces a file as a whole, so that no bar reads half of it. It need not survive a power cut.
bool FilesBridge::writeFile(const QString& name, const QByteArray& content)
{
    const QString path = m_directory + u'/' + name;
    if (!QDir().mkpath(m_directory)) {
        Q_EMIT failed(QStringLiteral("%1 cannot be made").arg(m_directory));
        return false;
    }
    QTemporaryFile file(m_directory + QStringLiteral("/.kestrum-XXXXXX"));
    if (!file.open() || file.write(content) != content.size() || !file.flush()
        || std::rename(QFile::encodeName(file.fileName()).constData(), QFile::encodeName(path).constData())
            != 0) {
        Q_EMIT failed(QStringLiteral("%1 cannot be written: %2").arg(path, file.errorString()));
        return false;
    }
    file.setAutoRemove(false);
    m_written.insert(name, content);
    return true;
}

/// Removes all other files that this object has written.
void FilesBridge::keepOnly(const QSet<QString>& names)
{
    m_written.removeIf([&](const QHash<QString, QByteArray>::iterator& file) {
        const bool isGone = !names.contains(file.key());
        if (isGone)
            QFile::remove(m_directory + u'/' + file.key());
        return isGone;
    });
}

} // namespace kestrum
