// SPDX-License-Identifier: MIT
#pragma once

#include <QLatin1StringView>

namespace kestrum {

/// Whether the running desktop calls itself so, as XDG_CURRENT_DESKTOP tells. A desktop may have several names. Give `name`
/// in lower case: the case makes no difference.
bool isDesktop(QLatin1StringView name);

} // namespace kestrum
