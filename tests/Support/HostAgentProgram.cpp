// SPDX-License-Identifier: MIT
// Stands in for the agent where tools/hosts measures what a bridge costs its shell: once a second all items have another picture,
// of a size as pictures have it. Nothing else happens, so the shell's use is the bridge's.
//
//   SCALE   pixels per point, which bridges are expected to have told

#include "KestrumShared/Agent/PanelContract.h"
#include "tests/Support/SilentAgent.h"

#include <QCoreApplication>
#include <QDBusConnection>
#include <QTimer>

using namespace kestrum;

namespace {

constexpr int itemWidth = 72; // points
constexpr int itemHeight = 22;

/// Half-transparent stripes of another height each time, as a meter and its letters cover a part of an item.
QByteArray pixelsOf(int width, int height, int turn)
{
    QByteArray pixels(qsizetype(width) * height * 4, '\0');
    for (int y = turn % height; y < height; ++y) {
        for (int x = 0; x < width; x += 3)
            pixels.replace((qsizetype(y) * width + x) * 4, 4, "\x45\xb8\x99\xff", 4);
    }
    return pixels;
}

} // namespace

int main(int count, char** words)
{
    const QCoreApplication application(count, words);
    const int scale = count > 1 ? QByteArray(words[1]).toInt() : 1;
    PanelContract::registerTypes();
    QDBusConnection bus = QDBusConnection::sessionBus();
    SilentAgent agent;
    if (!bus.registerObject(PanelContract::path, &agent, QDBusConnection::ExportAllSlots)
        || !bus.registerService(PanelContract::service))
        return 1;
    int turn = 0;
    QTimer second;
    QObject::connect(&second, &QTimer::timeout, &agent, [&] {
        if (agent.client.isEmpty())
            return;
        QList<PanelItem> items;
        for (const char* id : { "storage", "sensors", "memory", "cpu" }) {
            items.append({ QLatin1StringView(id), double(items.size()) * itemWidth, itemWidth,
                QStringLiteral("%1 — %2 %").arg(QLatin1StringView(id)).arg(turn % 100), itemWidth * scale,
                itemHeight * scale,
                pixelsOf(itemWidth * scale, itemHeight * scale, turn + int(items.size())) });
        }
        ++turn;
        QDBusMessage message = QDBusMessage::createTargetedSignal(
            agent.client, PanelContract::path, PanelContract::interface, QStringLiteral("Items"));
        message.setArguments({ 7U, QVariant::fromValue(items) });
        bus.send(message);
    });
    second.start(1000);
    return QCoreApplication::exec();
}
