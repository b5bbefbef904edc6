// SPDX-License-Identifier: MIT
#include "Platform/Files/FileName.h"

namespace kestrum {

namespace {

constexpr qsizetype maximumLength = 255;

// Enough for the longest suffix of a companion file, ".damaged-999". A temporary file has a name of its own and needs no room.
constexpr qsizetype companionLength = 16;

} // namespace

std::optional<QByteArray> FileName::encoded(const QString& text, QByteArrayView suffix, Room room)
{
    if (text.isEmpty() || text.size() > maximumLength)
        return std::nullopt;

    QByteArray name = text.toUtf8().toPercentEncoding({}, "~");
    if (name.startsWith('.'))
        name.replace(0, 1, "%2E");
    name += suffix;
    if (name.size() > maximumLength - (room == Room::none ? 0 : companionLength))
        return std::nullopt;
    return name;
}

} // namespace kestrum
