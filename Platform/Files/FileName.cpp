// SPDX-License-Identifier: MIT
#include "Platform/Files/FileName.h"

namespace kestrum {

namespace {

constexpr qsizetype maximumLength = 255;

// Enough for the longest suffix of a companion file, ".damaged-999". The names of temporary files do not contain this name.
constexpr qsizetype companionLength = 16;

bool isPlain(char character)
{
    return (character >= 'a' && character <= 'z') || (character >= 'A' && character <= 'Z')
        || (character >= '0' && character <= '9') || character == '-' || character == '_' || character == '.';
}

} // namespace

std::optional<QByteArray> FileName::encoded(const QString& text, QByteArrayView suffix, Room room)
{
    if (text.isEmpty() || text.size() > maximumLength)
        return std::nullopt;

    constexpr char digits[] = "0123456789ABCDEF";
    QByteArray name;
    const QByteArray bytes = text.toUtf8();
    for (const char character : bytes) {
        const bool isLeadingDot = character == '.' && name.isEmpty();
        if (isPlain(character) && !isLeadingDot) {
            name += character;
            continue;
        }
        const auto byte = static_cast<unsigned char>(character);
        name += '%';
        name += digits[byte >> 4];
        name += digits[byte & 0xF];
    }
    name += suffix;
    if (name.size() > maximumLength - (room == Room::none ? 0 : companionLength))
        return std::nullopt;
    return name;
}

} // namespace kestrum
