// SPDX-License-Identifier: MIT
#include "Platform/Desktop/DesktopName.h"

#include <QStringList>

namespace kestrum {

bool isDesktop(QLatin1StringView name)
{
    return qEnvironmentVariable("XDG_CURRENT_DESKTOP").toLower().split(u':').contains(name);
}

} // namespace kestrum
