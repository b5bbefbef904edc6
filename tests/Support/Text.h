// SPDX-License-Identifier: MIT
#pragma once

#include <QString>

namespace kestrum {

inline QString text(const char* utf8)
{
    return QString::fromUtf8(utf8);
}

} // namespace kestrum
