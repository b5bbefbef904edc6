// SPDX-License-Identifier: MIT
#include "KestrumAgent/Bridge/AttachedBridge.h"

#include "KestrumAgent/Panel/PanelStrip.h"
#include "KestrumShared/Vocabulary/Enumeration.h"

#include <utility>

namespace kestrum {

AttachedBridge::AttachedBridge(
    uint number, const QString& client, const QString& host, const QVariantMap& look)
    : m_number(number)
    , m_client(client)
    , m_host(host)
{
    m_look.adopt(look);
}

bool AttachedBridge::noteSent()
{
    ++m_sent;
    return m_sent >= unasked && !std::exchange(m_isAsked, true);
}

void AttachedBridge::noteAnswer()
{
    m_isAsked = false;
    m_sent = 0;
}

void AttachedBridge::setLook(const QVariantMap& look)
{
    m_look.adopt(look);
    m_told.reset();
    m_pictures.clear();
}

std::optional<QList<PanelItem>> AttachedBridge::news(const PanelStrip& strip)
{
    const Appearance appearance = Appearance::current();
    QList<PanelItem> items;
    bool hasPixels = false;
    for (const PanelStrip::Item& item : strip.items().list()) {
        const QRectF frame = item.view->frame();
        QImage picture = StripScene::picture(item, m_look.ink(), m_look.scale, appearance);
        PanelItem told { rawValue(item.section), frame.x(), frame.width(), strip.text(item.section),
            picture.width(), picture.height(), {} };
        QImage& kept = m_pictures[item.section];
        if (picture != kept) {
            const QImage pixels = picture.convertToFormat(QImage::Format_RGBA8888_Premultiplied);
            told.pixels = QByteArray(reinterpret_cast<const char*>(pixels.constBits()), pixels.sizeInBytes());
            kept = std::move(picture);
            hasPixels = true;
        }
        items.append(told);
    }
    // A bridge forgets the picture of an item that is gone.
    m_pictures.removeIf([&](const auto& picture) { return strip.items().index(picture.key()) < 0; });
    const auto facts = [](const PanelItem& item) {
        return std::tuple(item.id, item.x, item.width, item.text, item.pixelWidth, item.pixelHeight);
    };
    const bool isSame = m_told
        && std::equal(items.begin(), items.end(), m_told->begin(), m_told->end(),
            [&](const PanelItem& one, const PanelItem& other) { return facts(one) == facts(other); });
    if (isSame && !hasPixels)
        return std::nullopt;
    m_told = items;
    for (PanelItem& item : *m_told)
        item.pixels.clear();
    return items;
}

} // namespace kestrum
