// SPDX-License-Identifier: MIT
#include "PanelMessages.h"

#include <QDBusArgument>
#include <QDBusMessage>
#include <QSet>
#include <cmath>
#include <cstring>

namespace kestrum {

namespace {

constexpr double greatestPlace = 100000; // in points

bool isSize(const QSize& size)
{
    return size.width() > 0 && size.height() > 0 && size.width() <= PanelMessages::greatestSide
        && size.height() <= PanelMessages::greatestSide;
}

qsizetype bytesOf(int width, int rows)
{
    return qsizetype(width) * rows * 4;
}

/// Calls `read` for each element of an array. The message must have the array's type already: the bus library does not tell.
template <class Read> void forEach(const QVariant& array, const Read& read)
{
    const auto argument = array.value<QDBusArgument>();
    argument.beginArray();
    while (!argument.atEnd())
        read(argument);
    argument.endArray();
}

template <class... Fields> void readStructure(const QDBusArgument& argument, Fields&... fields)
{
    argument.beginStructure();
    (argument >> ... >> fields);
    argument.endStructure();
}

bool isSound(const PanelMessages::Item& item, const QByteArray& pixels)
{
    return !item.id.isEmpty() && std::isfinite(item.x) && std::abs(item.x) <= greatestPlace && item.width >= 0
        && item.width <= greatestPlace && isSize(item.size)
        && (pixels.isEmpty() || pixels.size() == bytesOf(item.size.width(), item.size.height()));
}

/// The bands are told from the top to the bottom, without an overlap.
bool areSound(const PanelMessages::Popover& popover)
{
    int end = 0;
    for (const PanelMessages::Band& band : popover.bands) {
        if (band.top < end || band.rows <= 0 || band.rows > popover.size.height() - band.top
            || band.pixels.size() != bytesOf(popover.size.width(), band.rows))
            return false;
        end = band.top + band.rows;
    }
    return true;
}

} // namespace

std::optional<PanelMessages::Items> PanelMessages::items(const QDBusMessage& message)
{
    if (message.signature() != QLatin1String("ua(sddsiiay)"))
        return std::nullopt;
    Items told;
    told.bridge = message.arguments().at(0).toUInt();
    QSet<QString> ids;
    bool isGood = true;
    forEach(message.arguments().at(1), [&](const QDBusArgument& argument) {
        Item item;
        QByteArray pixels;
        int width = 0;
        int height = 0;
        readStructure(argument, item.id, item.x, item.width, item.text, width, height, pixels);
        item.size = QSize(width, height);
        isGood = isGood && ids.size() < mostItems && !ids.contains(item.id) && isSound(item, pixels);
        if (!isGood)
            return;
        ids.insert(item.id);
        if (!pixels.isEmpty())
            item.picture = QImage(reinterpret_cast<const uchar*>(pixels.constData()), width, height,
                QImage::Format_RGBA8888_Premultiplied)
                               .copy();
        told.list.append(item);
    });
    return isGood ? std::optional<Items>(told) : std::nullopt;
}

std::optional<PanelMessages::Popover> PanelMessages::popover(const QDBusMessage& message)
{
    if (message.signature() != QLatin1String("usssiia(iiay)"))
        return std::nullopt;
    const QVariantList arguments = message.arguments();
    Popover told;
    told.bridge = arguments.at(0).toUInt();
    told.item = arguments.at(1).toString();
    told.text = arguments.at(2).toString();
    told.focus = arguments.at(3).toString();
    told.size = QSize(arguments.at(4).toInt(), arguments.at(5).toInt());
    forEach(arguments.at(6), [&](const QDBusArgument& argument) {
        Band band;
        readStructure(argument, band.top, band.rows, band.pixels);
        told.bands.append(band);
    });
    return isSize(told.size) && areSound(told) ? std::optional<Popover>(told) : std::nullopt;
}

std::optional<QVariantList> PanelMessages::actions(const QDBusMessage& message)
{
    if (message.signature() != QLatin1String("a(ssb)"))
        return std::nullopt;
    QVariantList list;
    forEach(message.arguments().at(0), [&](const QDBusArgument& argument) {
        QString id;
        QString title;
        bool isEnabled = false;
        readStructure(argument, id, title, isEnabled);
        list.append(QVariantMap { { QStringLiteral("id"), id }, { QStringLiteral("title"), title },
            { QStringLiteral("isEnabled"), isEnabled }, { QStringLiteral("isSeparator"), id.isEmpty() } });
    });
    return list;
}

bool PanelMessages::apply(const Popover& popover, QImage& picture)
{
    if (picture.size() != popover.size) {
        int covered = 0;
        for (const Band& band : popover.bands)
            covered += band.rows;
        if (covered != popover.size.height())
            return false;
        picture = QImage(popover.size, QImage::Format_RGBA8888_Premultiplied);
    }
    // The picture has no gaps between its rows either: a row's length is a multiple of four bytes.
    for (const Band& band : popover.bands)
        std::memcpy(picture.scanLine(band.top), band.pixels.constData(), size_t(band.pixels.size()));
    return true;
}

} // namespace kestrum
