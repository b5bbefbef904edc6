#include "Platform/Files/FileName.h"

namespace kestrum {

namespace {

constexpr qsizetype maximumLength = 255;

// Room for the longest thing that is ever put behind a name: the lock's ".lock", or the number of a damaged copy
// (".damaged-999"). Temporary files have names of their own.
constexpr qsizetype decorationLength = 16;

bool staysAsItIs(char character)
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
    const QByteArray plain = text.toUtf8();
    for (const char character : plain) {
        const bool isHiding = character == '.' && name.isEmpty();
        if (staysAsItIs(character) && !isHiding) {
            name += character;
            continue;
        }
        const auto byte = static_cast<unsigned char>(character);
        name += '%';
        name += digits[byte >> 4];
        name += digits[byte & 0xF];
    }
    name += suffix;
    if (name.size() > maximumLength - (room == Room::none ? 0 : decorationLength))
        return std::nullopt;
    return name;
}

} // namespace kestrum
