// SPDX-License-Identifier: MIT
#pragma once

#include <QStringList>

namespace kestrum {

inline QString text(const char* utf8)
{
    return QString::fromUtf8(utf8);
}

/// The words of a line, separated by blanks.
inline QStringList words(const QByteArray& line)
{
    return QString::fromUtf8(line).split(u' ', Qt::SkipEmptyParts);
}

} // namespace kestrum
